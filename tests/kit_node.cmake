# The Node kit (bindings/node): the addon built with npm and node-gyp into the build tree,
# then the kit's own tests run by Node's test runner against the library built here.
find_program(LMRPC_NODE node)
find_program(LMRPC_NPM npm)
if(NOT LMRPC_NODE OR NOT LMRPC_NPM)
  message(STATUS "node or npm not found: skipping the Node kit's tests (./scripts/install-deps installs them)")
elseif(LMRPC_SANITIZE STREQUAL "none" AND NOT LMRPC_FUZZ)
  # A plain Node cannot load a sanitizer-instrumented library, hence none of this there.
  set(node_kit ${PROJECT_SOURCE_DIR}/bindings/node)
  set(node_kit_out ${CMAKE_CURRENT_BINARY_DIR}/kit_node)
  # Building is a test step rather than a build target: npm ci needs the registry, which a
  # plain build of the library must not.
  add_test(NAME kit_node_build COMMAND bash ${node_kit}/scripts/build.sh ${node_kit_out})
  set_tests_properties(kit_node_build PROPERTIES FIXTURES_SETUP kit_node TIMEOUT 600)
  file(GLOB node_kit_tests CONFIGURE_DEPENDS ${node_kit}/test/*.test.mjs)
  add_test(NAME kit_node COMMAND ${LMRPC_NODE} --test ${node_kit_tests} WORKING_DIRECTORY ${node_kit})
  set_tests_properties(kit_node PROPERTIES FIXTURES_REQUIRED kit_node TIMEOUT 600 ENVIRONMENT
    "LMRPC_LIBRARY=$<TARGET_FILE:lumetra_rpc>;LMRPC_NODE_ADDON=${node_kit_out}/build/Release/lumetra_rpc_node.node")
endif()
