# The installed package as a stranger to the source tree consumes it: install into a fresh
# prefix, build a small project against it through find_package and through pkg-config,
# run what was built. Sanitizer and fuzzing builds are skipped: their runtimes would have
# to reach the consumer's link as well.
if(LMRPC_SANITIZE STREQUAL "none" AND NOT LMRPC_FUZZ)
  add_test(NAME package_consumers
           COMMAND ${CMAKE_COMMAND}
                   -DBUILD_DIR=${PROJECT_BINARY_DIR} -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/package
                   -DLIBDIR=${CMAKE_INSTALL_LIBDIR} -DGENERATOR=${CMAKE_GENERATOR}
                   -DMAKE_PROGRAM=${CMAKE_MAKE_PROGRAM} -DC_COMPILER=${CMAKE_C_COMPILER}
                   -DCXX_COMPILER=${CMAKE_CXX_COMPILER} -DBUILD_TYPE=${CMAKE_BUILD_TYPE}
                   -P ${CMAKE_CURRENT_SOURCE_DIR}/package/check_package.cmake)
  set_tests_properties(package_consumers PROPERTIES TIMEOUT 300)
endif()
