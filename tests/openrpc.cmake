# The OpenRPC document printed by `lumetra-rpc --openrpc`: its generator is compiled into
# the unit tests as well, and two script tests check the built tool's output against
# docs/openrpc.json and the document against the OpenRPC meta-schema.
if(TARGET lumetra-rpc)
  target_sources(lumetra_rpc_tests PRIVATE
    ${PROJECT_SOURCE_DIR}/tools/openrpc.cpp ${PROJECT_SOURCE_DIR}/tools/method_descriptions.cpp)
  target_include_directories(lumetra_rpc_tests PRIVATE ${PROJECT_SOURCE_DIR}/tools)
endif()

find_package(Python3 COMPONENTS Interpreter)
if(TARGET lumetra-rpc AND Python3_Interpreter_FOUND)
  add_test(NAME openrpc_document_current
           COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/openrpc/check_document.py
                   $<TARGET_FILE:lumetra-rpc> ${PROJECT_SOURCE_DIR}/docs/openrpc.json)
endif()

# The validator runs from the build tree, where `npm ci` installs the locked packages
# beside it; the source tree never holds node_modules.
find_program(LMRPC_NODE node)
find_program(LMRPC_NPM npm)
if(LMRPC_NODE AND LMRPC_NPM)
  set(LMRPC_OPENRPC_NODE_DIR ${CMAKE_CURRENT_BINARY_DIR}/openrpc_node)
  foreach(file package.json package-lock.json validate.mjs)
    configure_file(${CMAKE_CURRENT_SOURCE_DIR}/openrpc/${file} ${LMRPC_OPENRPC_NODE_DIR}/${file} COPYONLY)
  endforeach()
  add_test(NAME openrpc_npm_ci
           COMMAND ${LMRPC_NPM} ci --no-audit --no-fund
           WORKING_DIRECTORY ${LMRPC_OPENRPC_NODE_DIR})
  set_tests_properties(openrpc_npm_ci PROPERTIES FIXTURES_SETUP openrpc_node TIMEOUT 300)
  add_test(NAME openrpc_meta_schema
           COMMAND ${LMRPC_NODE} ${LMRPC_OPENRPC_NODE_DIR}/validate.mjs
                   ${PROJECT_SOURCE_DIR}/docs/openrpc.json
                   ${CMAKE_CURRENT_SOURCE_DIR}/data/parsing_cases.json
                   ${CMAKE_CURRENT_SOURCE_DIR}/openrpc/lenient_cases.json)
  set_tests_properties(openrpc_meta_schema PROPERTIES FIXTURES_REQUIRED openrpc_node)
else()
  message(STATUS "node or npm not found: the OpenRPC meta-schema test is not registered")
endif()
