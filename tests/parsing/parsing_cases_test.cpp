// Runs every case of tests/data/parsing_cases.json through a client: a valid request
// reaches its handler, a refused one gets exactly the listed error.

#include <gtest/gtest.h>

#include <set>

#include "lumetra_rpc/client.h"
#include "parsing/method_table.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/parsing_cases.h"
#include "support/pump.h"
#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

using Case = testing::ParsingCase;
const auto loadCases = testing::loadParsingCases;

std::string expectedResponse(const Case& c) {
  JSONObject response{{"error", *c.error}, {"id", c.request.id.value_or(nullptr)}, {"result", nullptr}};
  return writeJSON(AnyCodable(std::move(response))).value();
}

// Every method, end to end: a valid request comes back with a result from its handler,
// never an error object and never the answer of an unwired route.
TEST(ParsingCases, ValidRequestsReachTheirHandlerThroughTheClient) {
  auto client =
      LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<LumetraSDKAdapter>());
  for (const Case& c : loadCases()) {
    if (c.error) continue;
    auto response = readJSON(testing::execute(*client, c.requestText));
    ASSERT_TRUE(response) << c.name;
    const auto& members = *response->getIf<JSONObject>();
    EXPECT_TRUE(members.at("error").isNull()) << c.name;
    const auto* result = members.at("result").getIf<JSONObject>();
    ASSERT_NE(result, nullptr) << c.name;
    ASSERT_TRUE(result->contains("success") && result->contains("message")) << c.name;
    if (c.message) {
      EXPECT_EQ(result->at("message"), *c.message) << c.name;
    }
  }
}

// That a refused request never reaches the SDK is pinned by the journal of the
// command-line session refused_requests.
TEST(ParsingCases, InvalidRequestsGetTheirExactError) {
  auto client =
      LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<LumetraSDKAdapter>());
  for (const Case& c : loadCases()) {
    if (!c.error) continue;
    EXPECT_EQ(testing::execute(*client, c.requestText), expectedResponse(c)) << c.name;
  }
}

// Guards the data file as much as the table: a method without a passing case would leave
// its parse function untested, and a name lost to a duplicate would shrink the table.
TEST(ParsingCases, EveryMethodHasAPassingCase) {
  std::set<std::string> passing;
  for (const Case& c : loadCases()) {
    if (!c.error) passing.insert(c.request.method);
  }
  EXPECT_EQ(methodParsers().size(), 55u);
  for (const auto& [method, parse] : methodParsers())
    EXPECT_TRUE(passing.contains(std::string(method))) << method;
}

}  // namespace
}  // namespace lumetra_rpc
