# The C interface driven from Python's ctypes. Sanitizer runtimes cannot be loaded into a
# plain interpreter, so this runs in the ordinary build only.
if(LMRPC_SANITIZE STREQUAL "none")
  find_package(Python3 COMPONENTS Interpreter REQUIRED)
  add_test(NAME c_interface_from_python
           COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/c_api/ctypes_host.py
                   $<TARGET_FILE:lumetra_rpc>)
  set_tests_properties(c_interface_from_python PROPERTIES TIMEOUT 60)
endif()
