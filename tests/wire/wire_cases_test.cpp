#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/pump.h"
#include "wire/json_reader.h"
#include "wire/json_writer.h"
#include "wire/number_text.h"

namespace lumetra_rpc {
namespace {

std::string roundTrip(std::string_view text) {
  auto value = readJSON(text);
  if (!value) return "error: " + value.error().description;
  auto written = writeJSON(*value);
  return written ? *written : "unwritable";
}

const std::string& at(const AnyCodable& row, std::size_t i) {
  return *row.getIf<JSONArray>()->at(i).getIf<std::string>();
}

// The wire layer's table cases; the file says what each table holds.
const JSONArray& casesOf(const char* kind) {
  static const auto cases = readJSON(testing::readTextFile(LMRPC_TEST_DATA_DIR "/wire_cases.json"));
  EXPECT_TRUE(cases) << "wire_cases.json unreadable";
  return *cases->getIf<JSONObject>()->at(kind).getIf<JSONArray>();
}

// Numbers no double can hold are refused in the sessions number_exactness and envelopes.
TEST(JSONReader, DecodesNumbersInTheFixedKindOrder) {
  for (const AnyCodable& row : casesOf("numbers")) {
    auto value = readJSON(at(row, 0));
    ASSERT_TRUE(value) << at(row, 0);
    const char* kind = value->getIf<std::int64_t>() ? "integer" : value->getIf<double>() ? "double" : "other";
    EXPECT_EQ(kind, at(row, 1)) << at(row, 0);
    EXPECT_EQ(roundTrip(at(row, 0)), at(row, 2)) << at(row, 0);
  }
}

TEST(JSONReader, KeepsKindsApartAndRoundTripsStructures) {
  for (const AnyCodable& row : casesOf("roundTrips")) EXPECT_EQ(roundTrip(at(row, 0)), at(row, 1));
}

// Members nobody reads, and text after the top-level value, are refused with the reader's
// own message: pinned by the command-line session malformed_anywhere.
TEST(JSONReader, RefusesMalformedTextAndInvalidUnicode) {
  for (const AnyCodable& row : casesOf("refused")) {
    const auto& text = *row.getIf<std::string>();
    EXPECT_FALSE(readJSON(text)) << text;
  }
  EXPECT_FALSE(readJSON("\"\xff\""));  // not UTF-8, which the data file cannot hold
}

TEST(NumberText, PlainDecimalBetweenTheExtremes) {
  for (const AnyCodable& row : casesOf("numberTexts")) {
    EXPECT_EQ(formatNumberForMessage(std::strtod(at(row, 0).c_str(), nullptr)), at(row, 1)) << at(row, 0);
  }
}

TEST(JSONReader, LimitsNestingWithoutExhaustingTheStack) {
  auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(readJSON(nested(kMaxNestingDepth)));
  EXPECT_FALSE(readJSON(nested(kMaxNestingDepth + 1)));
  EXPECT_FALSE(readJSON(std::string(1'048'575, '[')));
}

// How the request envelope is read: the command-line session envelopes.

}  // namespace
}  // namespace lumetra_rpc
