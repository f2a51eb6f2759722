# The examples run as a reader would run them, and must print the responses they promise.
if(NOT LMRPC_BUILD_EXAMPLES)
  return()
endif()
add_test(NAME example_c_host
         COMMAND ${CMAKE_COMMAND} -DEXPECTED=${CMAKE_CURRENT_SOURCE_DIR}/examples/c_host_lines.txt
                 -P ${CMAKE_CURRENT_SOURCE_DIR}/examples/expect_lines.cmake
                 $<TARGET_FILE:lumetra-rpc-c-host>)
set_tests_properties(example_c_host PROPERTIES TIMEOUT 60)

# A plain interpreter cannot load a sanitizer-instrumented library.
find_package(Python3 COMPONENTS Interpreter)
if(LMRPC_SANITIZE STREQUAL "none" AND NOT LMRPC_FUZZ AND Python3_Interpreter_FOUND)
  add_test(NAME example_python_host
           COMMAND ${CMAKE_COMMAND} -DEXPECTED=${CMAKE_CURRENT_SOURCE_DIR}/examples/python_host_lines.txt
                   -P ${CMAKE_CURRENT_SOURCE_DIR}/examples/expect_lines.cmake
                   ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/examples/python_host.py
                   $<TARGET_FILE:lumetra_rpc>)
  set_tests_properties(example_python_host PROPERTIES TIMEOUT 60)
endif()

add_test(NAME kit_examples_in_readme
         COMMAND ${CMAKE_COMMAND} -DROOT=${PROJECT_SOURCE_DIR} -P ${CMAKE_CURRENT_SOURCE_DIR}/examples/kit_examples_in_readme.cmake)
