# The C interface driven from Python's ctypes.
if(NOT LMRPC_FUZZ)
  add_test(NAME c_interface_from_python
           COMMAND ${LMRPC_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/c_api/ctypes_host.py $<TARGET_FILE:lumetra_rpc>)
  set_tests_properties(c_interface_from_python PROPERTIES TIMEOUT 60 ENVIRONMENT "${LMRPC_PYTHON_ENV}")
endif()
