#include "pipeline/configuration.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

// Each case: a configuration text and the reason it is refused ("" when it is valid); a
// reason ending in ": " only needs to start the actual one.
TEST(Configuration, TextsAreReadOrRefusedWithTheirReason) {
  std::ifstream file(LMRPC_TEST_DATA_DIR "/configuration_cases.json");
  std::stringstream content;
  content << file.rdbuf();
  auto cases = readJSON(content.str());
  ASSERT_TRUE(cases.hasValue());
  for (const auto& entry : *cases->getIf<JSONArray>()) {
    const auto& fields = *entry.getIf<JSONObject>();
    const auto& text = *fields.at("text").getIf<std::string>();
    const auto& error = *fields.at("error").getIf<std::string>();
    auto read = readConfiguration(text);
    if (error.empty()) {
      EXPECT_TRUE(read.hasValue()) << text << ": " << (read ? "" : read.error());
    } else if (error.ends_with(": ")) {
      ASSERT_FALSE(read.hasValue()) << text;
      EXPECT_TRUE(read.error().starts_with(error)) << read.error();
    } else {
      ASSERT_FALSE(read.hasValue()) << text;
      EXPECT_EQ(read.error(), error);
    }
  }
}

}  // namespace
}  // namespace lumetra_rpc
