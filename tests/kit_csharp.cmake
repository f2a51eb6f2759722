# The C# kit's tests under Mono, one process per scenario, since the library is one per
# process and ends for good at Shutdown. Each test's time limit also catches a host whose
# process outstays its work on exit.
find_program(LMRPC_KIT_MCS mcs)
find_program(LMRPC_KIT_MONO mono)
# A plain runtime cannot load a sanitizer-instrumented library.
if(LMRPC_KIT_MCS AND LMRPC_KIT_MONO AND LMRPC_SANITIZE STREQUAL "none" AND NOT LMRPC_FUZZ)
  set(kit_dir ${PROJECT_SOURCE_DIR}/bindings/csharp)
  set(kit_tests ${CMAKE_CURRENT_BINARY_DIR}/KitTests.exe)
  # Compiled as a test of its own, so that `ctest -R kit_csharp` needs only the library built.
  add_test(NAME kit_csharp_compile
           COMMAND ${LMRPC_KIT_MCS} -nologo -warnaserror -out:${kit_tests}
                   ${kit_dir}/tests/KitTests.cs ${kit_dir}/LumetraRpc.cs)
  set_tests_properties(kit_csharp_compile PROPERTIES FIXTURES_SETUP kit_csharp TIMEOUT 120)

  foreach(scenario requests bad-config events host-pump shutdown-in-flight shutdown-in-flight-host
                   exit-in-flight exit-in-flight-host memory domain-unload)
    add_test(NAME kit_csharp_${scenario} COMMAND ${LMRPC_KIT_MONO} ${kit_tests} ${scenario})
    set_tests_properties(kit_csharp_${scenario} PROPERTIES
                         FIXTURES_REQUIRED kit_csharp TIMEOUT 60
                         ENVIRONMENT "LMRPC_LIBRARY=$<TARGET_FILE:lumetra_rpc>")
  endforeach()
  add_test(NAME kit_csharp_readme_example
           COMMAND sh ${kit_dir}/tests/readme_example.sh ${LMRPC_KIT_MCS} ${LMRPC_KIT_MONO}
                   ${CMAKE_CURRENT_BINARY_DIR}/kit_csharp_example)
  set_tests_properties(kit_csharp_readme_example PROPERTIES
                       TIMEOUT 120 ENVIRONMENT "LMRPC_LIBRARY=$<TARGET_FILE:lumetra_rpc>")
  # Returning from Main must not wait for the 60 s supervision timeouts those requests have.
  set_tests_properties(kit_csharp_exit-in-flight kit_csharp_exit-in-flight-host PROPERTIES TIMEOUT 20)
endif()
