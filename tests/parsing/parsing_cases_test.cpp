// Runs every case of tests/data/parsing_cases.json. A request (a text, or an object that
// is written as one) either parses, or, sent through a client, is answered with exactly
// the listed error and never reaches the SDK.

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "lumetra_rpc/client.h"
#include "parsing/method_table.h"
#include "support/fake_sdk.h"
#include "support/pump.h"
#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

struct Case {
  std::string name;
  std::string requestText;
  LMRPCRequest request;
  std::optional<AnyCodable> error;    // absent: the request must parse
  std::optional<AnyCodable> message;  // when given, the result's exact message
};

std::vector<Case> loadCases() {
  std::ifstream file(LMRPC_TEST_DATA_DIR "/parsing_cases.json");
  std::stringstream text;
  text << file.rdbuf();
  auto items = readJSON(text.str());
  if (!items || items->getIf<JSONArray>() == nullptr) {
    ADD_FAILURE() << "parsing_cases.json unreadable";
    return {};
  }
  std::vector<Case> cases;
  for (const AnyCodable& item : *items->getIf<JSONArray>()) {
    const auto& fields = *item.getIf<JSONObject>();
    const AnyCodable& request = fields.at("request");
    const auto* raw = request.getIf<std::string>();
    std::string requestText = raw != nullptr ? *raw : writeJSON(request).value();
    std::optional<AnyCodable> error;
    if (fields.contains("error")) error = fields.at("error");
    std::optional<AnyCodable> message;
    if (fields.contains("message")) message = fields.at("message");
    // Only a text that is refused as a whole may fail to read; it is answered with no id.
    auto decoded = readRequest(requestText);
    EXPECT_TRUE(decoded || (error && error->getIf<JSONObject>()->at("code") == AnyCodable(400)))
        << requestText;
    cases.push_back({*fields.at("name").getIf<std::string>(), std::move(requestText),
                     decoded ? std::move(decoded).value() : LMRPCRequest{}, std::move(error),
                     std::move(message)});
  }
  return cases;
}

std::string expectedResponse(const Case& c) {
  JSONObject response{{"error", *c.error}, {"id", c.request.id.value_or(nullptr)}, {"result", nullptr}};
  return writeJSON(AnyCodable(std::move(response))).value();
}

TEST(ParsingCases, ValidRequestsParse) {
  for (const Case& c : loadCases()) {
    if (c.error) continue;
    auto parsed = parseRequest(c.request);
    EXPECT_TRUE(parsed) << c.name << ": " << parsed.error().toRPCError().message;
  }
}

// Every method, end to end: a valid request comes back with a result from its handler,
// never an error object and never the answer of an unwired route.
TEST(ParsingCases, ValidRequestsReachTheirHandlerThroughTheClient) {
  auto client =
      LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<testing::FakeSDK>());
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

TEST(ParsingCases, InvalidRequestsGetTheirExactErrorAndNeverReachTheSDK) {
  auto sdk = std::make_shared<testing::FakeSDK>();
  auto client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, sdk);
  for (const Case& c : loadCases()) {
    if (!c.error) continue;
    EXPECT_EQ(testing::execute(*client, c.requestText), expectedResponse(c)) << c.name;
  }
  EXPECT_TRUE(sdk->calls().empty());
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
