# lichtwart_test(NAME SOURCES ... [LIBS ...] [LABELS ...] [TIMEOUT s] [WAITS])
# WAITS marks a test that spends tens of seconds waiting out the protocol's time-outs; tests with
# the label sim wait on the simulator and count as such too.
# One Qt Test executable per class or feature. Every test gets a settings store of its own
# (XDG_CONFIG_HOME inside the build tree) and the offscreen platform, so no test touches the
# user's settings or needs a display.
function(lichtwart_test name)
  cmake_parse_arguments(T "WAITS" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE Qt6::Test Qt6::Widgets lichtwart_testsupport ${T_LIBS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${T_TIMEOUT}
    LABELS "${T_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${CMAKE_BINARY_DIR}/test-config/${name};LICHTWART_BIN_DIR=${CMAKE_BINARY_DIR}/bin;TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp halt_on_error=1 second_deadlock_stack=1;ASAN_OPTIONS=detect_leaks=1;UBSAN_OPTIONS=print_stacktrace=1")
  # Without timing data from an earlier run ctest starts the costlier tests first: the waiting
  # tests take up to minutes and would otherwise end a cold run on their own. Their time-out, which
  # grows with how long they wait, orders them among themselves.
  if(T_WAITS OR "sim" IN_LIST T_LABELS)
    set_tests_properties(${name} PROPERTIES COST ${T_TIMEOUT})
  endif()
endfunction()
