# Hosts that quit early, exit from callbacks, shut down with work pending and pump from
# the wrong place; each scenario runs several times, since the faults they catch are races.
add_executable(lifecycle_host ${CMAKE_CURRENT_SOURCE_DIR}/hosts/lifecycle_host.c)
set_target_properties(lifecycle_host PROPERTIES C_STANDARD 11 C_STANDARD_REQUIRED ON)
target_link_libraries(lifecycle_host PRIVATE lumetra_rpc Threads::Threads)

set(LMRPC_HOST_DRIVER ${LMRPC_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/hosts/run_hosts.py)
function(lmrpc_host_test name runs)
  add_test(NAME host_${name} COMMAND ${LMRPC_HOST_DRIVER} ${runs} 20 ${ARGN})
  set_tests_properties(host_${name} PROPERTIES TIMEOUT 300)
endfunction()

foreach(mode dedicated host)
  lmrpc_host_test(c_exit_in_flight_${mode} 10 $<TARGET_FILE:lifecycle_host> exit-in-flight ${mode} 10)
  lmrpc_host_test(c_exit_in_flight_1000_${mode} 3 $<TARGET_FILE:lifecycle_host> exit-in-flight ${mode} 1000)
  lmrpc_host_test(c_shutdown_pending_${mode} 3 $<TARGET_FILE:lifecycle_host> shutdown-pending ${mode})
  lmrpc_host_test(c_burst_${mode} 5 $<TARGET_FILE:lifecycle_host> burst ${mode})
  lmrpc_host_test(c_shutdown_racing_${mode} 5 $<TARGET_FILE:lifecycle_host> shutdown-racing ${mode})
  lmrpc_host_test(c_shutdown_in_callback_${mode} 5 $<TARGET_FILE:lifecycle_host> shutdown-in-callback ${mode})
  lmrpc_host_test(c_pump_rules_${mode} 3 $<TARGET_FILE:lifecycle_host> pump-rules ${mode})
  lmrpc_host_test(c_exit_in_callback_${mode} 5 $<TARGET_FILE:lifecycle_host> exit-in-callback ${mode})
endforeach()
lmrpc_host_test(c_shutdown_unused 1 $<TARGET_FILE:lifecycle_host> shutdown-unused)
lmrpc_host_test(c_refuse_lengths 1 $<TARGET_FILE:lifecycle_host> refuse-lengths)
lmrpc_host_test(c_events 1 $<TARGET_FILE:lifecycle_host> events)
lmrpc_host_test(c_shutdown_in_event 3 $<TARGET_FILE:lifecycle_host> shutdown-in-event)
lmrpc_host_test(c_fork 3 $<TARGET_FILE:lifecycle_host> fork)
# A forked child has none of its parent's threads, so what only they referenced looks
# leaked to LeakSanitizer when the child exits; that is fork's nature, not a leak.
if(LMRPC_SANITIZE STREQUAL "asan")
  set_tests_properties(host_c_fork PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=0:abort_on_error=1")
endif()

# Fewer runs under the sanitizers: slowed down, they widen a window in which CPython itself
# crashes a foreign thread that calls in just after its interpreter is gone (see the header).
set(python_runs 10)
if(NOT LMRPC_SANITIZE STREQUAL "none")
  set(python_runs 3)
endif()
if(NOT LMRPC_FUZZ)
  foreach(mode dedicated host)
    lmrpc_host_test(python_exit_in_flight_${mode} ${python_runs} ${LMRPC_PYTHON}
                    ${CMAKE_CURRENT_SOURCE_DIR}/hosts/python_exit_host.py $<TARGET_FILE:lumetra_rpc>
                    exit-in-flight ${mode})
    set_tests_properties(host_python_exit_in_flight_${mode} PROPERTIES ENVIRONMENT "${LMRPC_PYTHON_ENV}")
  endforeach()
endif()

# Mono waits at exit for every thread that has called into managed code.
find_program(LMRPC_MCS mcs)
find_program(LMRPC_MONO mono)
if(LMRPC_MCS AND LMRPC_MONO AND LMRPC_SANITIZE STREQUAL "none" AND NOT LMRPC_FUZZ)
  set(mono_host ${CMAKE_CURRENT_BINARY_DIR}/MonoExitHost.exe)
  add_custom_command(OUTPUT ${mono_host}
                     COMMAND ${LMRPC_MCS} -nologo -out:${mono_host} ${CMAKE_CURRENT_SOURCE_DIR}/hosts/MonoExitHost.cs
                     DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/hosts/MonoExitHost.cs)
  add_custom_target(mono_exit_host ALL DEPENDS ${mono_host})
  foreach(when now after)
    lmrpc_host_test(mono_exit_${when} 5 ${LMRPC_MONO} ${mono_host} ${when})
    set_tests_properties(host_mono_exit_${when} PROPERTIES
                         ENVIRONMENT "LD_LIBRARY_PATH=$<TARGET_FILE_DIR:lumetra_rpc>")
  endforeach()
endif()
