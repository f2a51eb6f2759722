# Installs a build tree into a fresh prefix, builds the consumer project against that
# prefix through the CMake package and through pkg-config, and runs each consumer.
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DLIBDIR=... -DGENERATOR=... -DMAKE_PROGRAM=...
#         -DC_COMPILER=... -DCXX_COMPILER=... -DBUILD_TYPE=... -P check_package.cmake

set(consumer ${CMAKE_CURRENT_LIST_DIR}/consumer)
set(prefix ${WORK_DIR}/prefix)
set(c_expected [[{"error":{"code":404,"message":"Method not found: nope"},"id":1,"result":null}]])
set(cpp_expected [[{"error":null,"id":2,"result":{"data":{"version":"6.15.2"},"message":"SDK version retrieved","success":true}}]])

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command} failed (${result}):\n${output}")
  endif()
endfunction()

function(expect_output program expected)
  execute_process(COMMAND ${program} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE errors OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0 OR NOT output STREQUAL expected)
    message(FATAL_ERROR "${program} exited ${result}, printed\n${output}\n${errors}\nexpected\n${expected}")
  endif()
endfunction()

function(build_consumer tree)
  run(${CMAKE_COMMAND} -S ${consumer} -B ${tree} -G ${GENERATOR} -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}
      -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
      -DCMAKE_BUILD_TYPE=${BUILD_TYPE} ${ARGN})
  run(${CMAKE_COMMAND} --build ${tree})
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

build_consumer(${WORK_DIR}/find_package -DCMAKE_PREFIX_PATH=${prefix})
expect_output(${WORK_DIR}/find_package/c_consumer "${c_expected}")
expect_output(${WORK_DIR}/find_package/c_consumer_static "${c_expected}")
expect_output(${WORK_DIR}/find_package/cpp_consumer "${cpp_expected}")
expect_output(${WORK_DIR}/find_package/sdk_consumer "binding-1.0")

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
build_consumer(${WORK_DIR}/pkg_config -DCONSUME_VIA_PKG_CONFIG=ON)
expect_output(${WORK_DIR}/pkg_config/c_consumer "${c_expected}")
