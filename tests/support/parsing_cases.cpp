#include "support/parsing_cases.h"

#include <gtest/gtest.h>

#include "support/pump.h"
#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::testing {

std::vector<ParsingCase> loadParsingCases() {
  auto items = readJSON(readTextFile(LMRPC_TEST_DATA_DIR "/parsing_cases.json"));
  if (!items || items->getIf<JSONArray>() == nullptr) {
    ADD_FAILURE() << "parsing_cases.json unreadable";
    return {};
  }
  std::vector<ParsingCase> cases;
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

}  // namespace lumetra_rpc::testing
