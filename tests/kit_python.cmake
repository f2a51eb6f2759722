# The Python asyncio kit's own tests, with the real interpreter over the built library. Each
# scenario runs in a fresh interpreter of its own (the library is one per process).
if(LMRPC_SANITIZE STREQUAL "none" AND NOT LMRPC_FUZZ)
  find_package(Python3 COMPONENTS Interpreter REQUIRED)
  add_test(NAME kit_python
           COMMAND ${Python3_EXECUTABLE} -m unittest discover -s tests -v
           WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/bindings/python)
  set_tests_properties(kit_python PROPERTIES TIMEOUT 600
                       ENVIRONMENT "LMRPC_LIBRARY=$<TARGET_FILE:lumetra_rpc>;PYTHONDONTWRITEBYTECODE=1")
endif()
