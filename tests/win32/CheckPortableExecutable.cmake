# Passes when EXE is a Windows executable (starts with the "MZ" signature).
if(NOT EXISTS "${EXE}")
  message(FATAL_ERROR "${EXE} was not built")
endif()
file(READ "${EXE}" signature LIMIT 2 HEX)
if(NOT signature STREQUAL "4d5a")
  message(FATAL_ERROR "${EXE} is not a Windows executable (signature ${signature})")
endif()
message(STATUS "${EXE}: Windows executable")
