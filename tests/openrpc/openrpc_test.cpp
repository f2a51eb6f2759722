// Holds the OpenRPC document to the library: its methods are the method table's, each
// method's parameters and their required flags are the rows of docs/methods.md, it lists
// 422 exactly for the methods that can be refused with it, every allowed value it names is
// one the parser takes, and every default it states is what absence means.

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "lumetra_rpc/client.h"
#include "openrpc.h"
#include "parsing/method_table.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "sdk/simulator/simulator.h"
#include "support/methods_doc.h"
#include "support/parsing_cases.h"
#include "support/pump.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

const JSONObject& members(const AnyCodable& value) {
  return *value.getIf<JSONObject>();
}
const JSONArray& elements(const AnyCodable& value) {
  return *value.getIf<JSONArray>();
}
const std::string& text(const AnyCodable& value) {
  return *value.getIf<std::string>();
}

std::map<std::string, JSONObject> documentedMethods() {
  auto document = cli::openRPCDocument();
  std::map<std::string, JSONObject> methods;
  if (!document) {
    ADD_FAILURE() << document.error();
    return methods;
  }
  for (const AnyCodable& method : elements(members(*document).at("methods"))) {
    const std::string& name = text(members(method).at("name"));
    EXPECT_TRUE(methods.emplace(name, members(method)).second) << "described twice: " << name;
  }
  return methods;
}

// A parameter and, one level down, the entries of an object parameter ("product.productId"),
// as the methods page names them.
using Presence = std::set<std::pair<std::string, bool>>;

Presence documentedPresence(const JSONObject& method) {
  Presence presence;
  for (const AnyCodable& param : elements(method.at("params"))) {
    const std::string& name = text(members(param).at("name"));
    presence.emplace(name, members(param).at("required") == AnyCodable(true));
    const JSONObject& schema = members(members(param).at("schema"));
    if (!schema.contains("properties")) continue;
    std::set<std::string> required;
    if (schema.contains("required"))
      for (const AnyCodable& entry : elements(schema.at("required"))) required.insert(text(entry));
    for (const auto& [entry, entrySchema] : members(schema.at("properties")))
      presence.emplace(name + "." + entry, required.contains(entry));
  }
  return presence;
}

struct ParsingCases {
  std::map<std::string, JSONObject> firstValidParams;
  std::set<std::string> refusedWith422;
};

ParsingCases loadParsingCases() {
  ParsingCases cases;
  for (const auto& c : testing::loadParsingCases()) {
    if (!c.error) {
      cases.firstValidParams.try_emplace(c.request.method, c.request.params);
    } else if (members(*c.error).at("code") == AnyCodable(422)) {
      cases.refusedWith422.insert(c.request.method);
    }
  }
  return cases;
}

TEST(OpenRPCDocument, DescribesExactlyTheMethodTable) {
  std::set<std::string> described, known;
  for (const auto& [name, method] : documentedMethods()) described.insert(name);
  for (const auto& [name, parse] : methodParsers()) known.insert(std::string(name));
  EXPECT_EQ(described, known);
}

TEST(OpenRPCDocument, ParamsAreTheRowsOfTheMethodsPage) {
  auto sections = testing::loadMethodSections(LMRPC_DOCS_DIR "/methods.md");
  for (const auto& [name, method] : documentedMethods()) {
    ASSERT_TRUE(sections.contains(name)) << name;
    Presence onPage;
    for (const testing::ParameterRow& row : sections.at(name).parameters)
      onPage.emplace(row.name, row.required == "required");
    EXPECT_EQ(documentedPresence(method), onPage) << name;
  }
}

TEST(OpenRPCDocument, Lists422ExactlyForMethodsThatRefuseParams) {
  std::set<std::string> listing;
  for (const auto& [name, method] : documentedMethods()) {
    for (const AnyCodable& error : elements(method.at("errors")))
      if (members(error).at("code") == AnyCodable(422)) listing.insert(name);
  }
  std::set<std::string> refused = loadParsingCases().refusedWith422;
  for (const std::string& name : listing)
    EXPECT_TRUE(refused.contains(name)) << name << " lists 422, yet no parsing case is refused with it";
  for (const std::string& name : refused)
    EXPECT_TRUE(listing.contains(name))
        << name << " is refused with 422 by a parsing case, yet does not list it";
}

// A request without the parameter and one with its stated default must reach the SDK with the
// same calls and arguments and get the same response.
TEST(OpenRPCDocument, DefaultsAreWhatAbsenceMeans) {
  ParsingCases cases = loadParsingCases();
  // Each run journals the simulated SDK's calls to a file of its own.
  int runs = 0;
  auto run = [&runs](const std::string& method, const JSONObject& params) {
    auto journal = ::testing::TempDir() + "openrpc_defaults_" + std::to_string(++runs) + ".jsonl";
    std::remove(journal.c_str());  // the journal appends, and a file may be left from an earlier run
    EXPECT_TRUE(simulator::configureSimulator(simulator::defaultSimulatorConfig(), journal).hasValue());
    auto client =
        LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<LumetraSDKAdapter>());
    JSONObject request{{"id", 1}, {"method", method}, {"params", params}};
    std::string response = testing::execute(*client, writeJSON(AnyCodable(request)).value());
    return response + "\n" + testing::readTextFile(journal);
  };
  int compared = 0;
  for (const auto& [name, method] : documentedMethods()) {
    for (const AnyCodable& param : elements(method.at("params"))) {
      const JSONObject& schema = members(members(param).at("schema"));
      if (!schema.contains("default")) continue;
      ASSERT_TRUE(cases.firstValidParams.contains(name)) << name << " has no valid parsing case";
      const std::string& paramName = text(members(param).at("name"));
      JSONObject absent = cases.firstValidParams.at(name);
      absent.erase(paramName);
      JSONObject given = absent;
      given.insert_or_assign(paramName, schema.at("default"));
      EXPECT_EQ(run(name, absent), run(name, given)) << name << ": " << paramName;
      ++compared;
    }
  }
  EXPECT_GT(compared, 0) << "no defaults found in the document";
}

}  // namespace
}  // namespace lumetra_rpc
