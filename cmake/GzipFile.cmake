# cmake -DINPUT=... -DOUTPUT=... [-DFRAGMENTS=a|b] -DVERSION=x -P GzipFile.cmake
# Fills in @VERSION@ (and @COMMANDS@ with the fragments, in the order given), then compresses the
# result with gzip -9n, as Debian wants manual pages and changelogs: no name or time stamp inside,
# so the package comes out the same from the same sources.
cmake_minimum_required(VERSION 3.25)
file(READ "${INPUT}" text)
set(commands "")
string(REPLACE "|" ";" FRAGMENTS "${FRAGMENTS}")
foreach(fragment IN LISTS FRAGMENTS)
  file(READ "${fragment}" part)
  string(APPEND commands "${part}")
endforeach()
string(REGEX REPLACE "\n$" "" COMMANDS "${commands}")
string(CONFIGURE "${text}" text @ONLY)
get_filename_component(plain "${OUTPUT}" NAME_WLE)
get_filename_component(folder "${OUTPUT}" DIRECTORY)
file(WRITE "${folder}/${plain}" "${text}")
execute_process(COMMAND gzip -9nf "${folder}/${plain}" RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "gzip failed on ${folder}/${plain}")
endif()
