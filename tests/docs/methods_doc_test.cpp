// Holds docs/methods.md to the library in both directions: its method headings are exactly
// the method table; every error a parsing case gets is written in that method's section;
// every message the page lists is what a real client answers to the example params printed
// beside it, and every parameter it names is used by a valid parsing case.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "lumetra_rpc/client.h"
#include "parsing/method_table.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/parsing_cases.h"
#include "support/pump.h"
#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

std::string readFile(const char* path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// The text between the backtick that ends `marker` and the next backtick.
std::optional<std::string> codeSpanAfter(std::string_view line, std::string_view marker) {
  auto start = line.find(marker);
  if (start == std::string_view::npos) return std::nullopt;
  start += marker.size();
  auto end = line.find('`', start);
  if (end == std::string_view::npos) return std::nullopt;
  return std::string(line.substr(start, end - start));
}

// One line "- `message` — when; details `{...}`; e.g. `{params}`"; details are optional,
// and a failure reported in the result object is marked "*in `result`*".
struct MessageLine {
  std::string line;
  std::string message;
  std::optional<std::string> details;
  std::optional<std::string> params;
  bool inResult = false;
};

struct Section {
  std::vector<std::string> parameters;  // first cell of each table row
  std::vector<MessageLine> messages;
};

MessageLine parseMessageLine(const std::string& line) {
  return MessageLine{line, codeSpanAfter(line, "- `").value(), codeSpanAfter(line, "details `"),
                     codeSpanAfter(line, "e.g. `"), line.find("*in `result`*") != std::string::npos};
}

// A method's section runs from its "### `name`" heading to the next heading of any level.
std::map<std::string, Section> loadSections() {
  std::istringstream page(readFile(LMRPC_DOCS_DIR "/methods.md"));
  std::map<std::string, Section> sections;
  Section* current = nullptr;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("#")) {
      current = nullptr;
      if (line.starts_with("### `") && line.ends_with("`")) {
        std::string name = line.substr(5, line.size() - 6);
        EXPECT_FALSE(sections.contains(name)) << "two sections for " << name;
        current = &sections[name];
      }
      continue;
    }
    if (current == nullptr) continue;
    if (line.starts_with("| `")) current->parameters.push_back(*codeSpanAfter(line, "| `"));
    if (line.starts_with("- `")) current->messages.push_back(parseMessageLine(line));
  }
  return sections;
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
    const Section& section = sections.at(method);
    std::set<std::string> listed;
    for (const MessageLine& line : section.messages) listed.insert(line.message);
    for (const std::string& message : cases.errorMessages)
      EXPECT_TRUE(listed.contains(message)) << method << " does not list: " << message;
    // A nested parameter ("product.productId") is sent inside its outer object.
    for (const std::string& parameter : section.parameters) {
      std::string outer = parameter.substr(0, parameter.find('.'));
      EXPECT_TRUE(cases.validParameters.contains(outer))
          << method << " documents " << parameter << ", which no valid case sends";
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
