# What `cmake --install` puts under the prefix: both libraries, the public headers, the
# command-line host, a CMake package and a pkg-config file.
#
# LumetraRPC::lumetra_rpc is the shared library: it exports only the C interface and the
# public C++ classes, so an embedder sees nothing of Boost.URL or simdjson. The static
# library, LumetraRPC::lumetra_rpc_static, is offered when its private dependencies can be
# found too, since they reach the user's final link.
include(CMakePackageConfigHelpers)

set(LMRPC_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/LumetraRPC)

install(TARGETS lumetra_rpc EXPORT LumetraRPCTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS lumetra_rpc_static lumetra_rpc_simulator EXPORT LumetraRPCStaticTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/lumetra_rpc
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
if(TARGET lumetra-rpc)
  install(TARGETS lumetra-rpc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT LumetraRPCTargets NAMESPACE LumetraRPC:: DESTINATION ${LMRPC_CMAKE_DIR})
install(EXPORT LumetraRPCStaticTargets NAMESPACE LumetraRPC:: DESTINATION ${LMRPC_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/LumetraRPCConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LumetraRPCConfig.cmake INSTALL_DESTINATION ${LMRPC_CMAKE_DIR})
# The shared library's soname carries the major version; the package promises the same.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumetraRPCConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LumetraRPCConfig.cmake
              ${PROJECT_BINARY_DIR}/LumetraRPCConfigVersion.cmake
  DESTINATION ${LMRPC_CMAKE_DIR})

# The .pc file locates the prefix from its own place, so `cmake --install --prefix` may
# choose another prefix than the configured one.
file(RELATIVE_PATH LMRPC_PC_UP "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" LMRPC_PC_UP "${LMRPC_PC_UP}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/lumetra_rpc.pc.in ${PROJECT_BINARY_DIR}/lumetra_rpc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lumetra_rpc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
