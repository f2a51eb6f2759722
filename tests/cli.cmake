# End-to-end sessions through the built command-line host: request lines in, exact
# response, event and journal lines out.
find_package(Python3 COMPONENTS Interpreter)
if(TARGET lumetra-rpc AND Python3_Interpreter_FOUND)
  add_test(NAME cli_sessions
           COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/run_sessions.py
                   $<TARGET_FILE:lumetra-rpc> ${CMAKE_CURRENT_SOURCE_DIR}/data/cli)
  set_tests_properties(cli_sessions PROPERTIES TIMEOUT 300)
endif()
