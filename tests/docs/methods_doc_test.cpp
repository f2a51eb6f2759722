// Holds docs/methods.md to the library in both directions: its method headings are exactly
// the method table; every error a parsing case gets is written in that method's section;
// every message the page lists is what a real client answers to the example params printed
// beside it, and every parameter it names is used by a valid parsing case.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "lumetra_rpc/client.h"
#include "parsing/method_table.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/methods_doc.h"
#include "support/parsing_cases.h"
#include "support/pump.h"
#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

using testing::loadMethodSections;
using testing::MessageLine;
using testing::MethodSection;

std::map<std::string, MethodSection> loadSections() {
  return loadMethodSections(LMRPC_DOCS_DIR "/methods.md");
}

struct MethodCases {
  std::set<std::string> errorMessages;
  std::set<std::string> validParameters;
};

std::map<std::string, MethodCases> loadParsingCases() {
  std::map<std::string, MethodCases> cases;
  for (const auto& c : testing::loadParsingCases()) {
    MethodCases& method = cases[c.request.method];
    if (c.error) {
      method.errorMessages.insert(*c.error->getIf<JSONObject>()->at("message").getIf<std::string>());
    } else {
      for (const auto& [name, value] : c.request.params) method.validParameters.insert(name);
    }
  }
  return cases;
}

TEST(MethodsDoc, SectionsMatchTheMethodTableAndTheParsingCases) {
  auto sections = loadSections();
  std::set<std::string> documented, known;
  for (const auto& [name, section] : sections) documented.insert(name);
  for (const auto& [name, parse] : methodParsers()) known.insert(std::string(name));
  EXPECT_EQ(documented, known);

  for (const auto& [method, cases] : loadParsingCases()) {
    if (!sections.contains(method)) continue;  // unknown-method cases
    const MethodSection& section = sections.at(method);
    std::set<std::string> listed;
    for (const MessageLine& line : section.messages) listed.insert(line.message);
    for (const std::string& message : cases.errorMessages)
      EXPECT_TRUE(listed.contains(message)) << method << " does not list: " << message;
    // A nested parameter ("product.productId") is sent inside its outer object.
    for (const testing::ParameterRow& parameter : section.parameters) {
      std::string outer = parameter.name.substr(0, parameter.name.find('.'));
      EXPECT_TRUE(cases.validParameters.contains(outer))
          << method << " documents " << parameter.name << ", which no valid case sends";
    }
  }
}

TEST(MethodsDoc, EveryListedMessageIsTheAnswerToItsExample) {
  auto client =
      LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<LumetraSDKAdapter>());
  for (const auto& [method, section] : loadSections()) {
    for (const MessageLine& line : section.messages) {
      if (!line.params) {
        ADD_FAILURE() << method << ": message line without example: " << line.line;
        continue;
      }
      std::string text = R"({"id":1,"method":")" + method + R"(","params":)" + *line.params + "}";
      std::string responseText = testing::execute(*client, text);
      auto response = readJSON(responseText);
      ASSERT_TRUE(response && response->getIf<JSONObject>()) << responseText;
      const JSONObject& members = *response->getIf<JSONObject>();
      if (line.inResult) {
        const auto* result = members.at("result").getIf<JSONObject>();
        ASSERT_NE(result, nullptr) << text << " -> " << responseText;
        EXPECT_TRUE(result->at("success") == AnyCodable(false)) << text << " -> " << responseText;
        EXPECT_TRUE(result->at("message") == AnyCodable(line.message)) << text << " -> " << responseText;
        continue;
      }
      JSONObject expected{{"code", std::int64_t{422}}, {"message", line.message}};
      if (line.details) {
        auto details = readJSON(*line.details);
        ASSERT_TRUE(details) << line.line;
        expected.emplace("details", std::move(details).value());
      }
      EXPECT_TRUE(members.at("error") == AnyCodable(expected)) << text << " -> " << responseText;
    }
  }
}

}  // namespace
}  // namespace lumetra_rpc
