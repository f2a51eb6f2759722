#include <gtest/gtest.h>

#include <string>

#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

std::string roundTrip(std::string_view text) {
  auto value = readJSON(text);
  if (!value) return "error: " + value.error().description;
  auto written = writeJSON(*value);
  return written ? *written : "unwritable";
}

// Text in, the kind it decodes to and how it is written back.
struct NumberCase {
  const char* text;
  const char* kind;
  const char* written;
};

TEST(JSONReader, DecodesNumbersInTheFixedKindOrder) {
  const NumberCase cases[] = {
      {"1", "integer", "1"},
      {"1.0", "integer", "1"},
      {"-0", "integer", "0"},
      {"-0.0", "integer", "0"},
      {"1e2", "integer", "100"},
      {"1.5", "double", "1.5"},
      {"-7", "integer", "-7"},
      {"9223372036854775807", "integer", "9223372036854775807"},
      {"-9223372036854775808", "integer", "-9223372036854775808"},
      {"9223372036854775808", "double", "9223372036854775808"},
      {"18446744073709551616", "double", "18446744073709551616"},
      {"1e-400", "integer", "0"},
      // Below -2^63 in digits: a double, as -1e19 is, even where it rounds to -2^63.
      {"-9223372036854775809", "double", "-9223372036854775808"},
      {"-18446744073709551617", "double", "-18446744073709551616"},
      {"-1e19", "double", "-1e+19"},
  };
  for (const auto& c : cases) {
    auto value = readJSON(c.text);
    ASSERT_TRUE(value) << c.text;
    const char* kind = value->getIf<std::int64_t>() ? "integer" : value->getIf<double>() ? "double" : "other";
    EXPECT_STREQ(kind, c.kind) << c.text;
    EXPECT_EQ(roundTrip(c.text), c.written) << c.text;
  }
}

// Numbers no double can hold are refused in the sessions number_exactness and envelopes.

TEST(JSONReader, KeepsKindsApartAndRoundTripsStructures) {
  EXPECT_EQ(roundTrip("true"), "true");
  EXPECT_EQ(roundTrip("\"1\""), "\"1\"");
  EXPECT_EQ(roundTrip(R"([1,"a",null,[true]])"), R"([1,"a",null,[true]])");
  EXPECT_EQ(roundTrip("{}"), "{}");
  EXPECT_EQ(roundTrip("[]"), "[]");
  EXPECT_EQ(roundTrip(R"({"b":1,"a":{"d":2,"c":3}})"), R"({"a":{"c":3,"d":2},"b":1})");
  EXPECT_EQ(roundTrip(R"("\ud83d\ude00 caf\u00e9")"), "\"\xF0\x9F\x98\x80 caf\xC3\xA9\"");
}

TEST(JSONReader, RefusesMalformedTextAndInvalidUnicode) {
  const std::string refused[] = {
      "",
      " ",
      "[1,]",
      "{\"a\" 1}",
      "[1] x",
      "nul",
      "tru",
      "01",
      "\"\xff\"",
      R"("\ud800")",
      R"("\udc00")",
      R"("\ud800\u0041")",
      std::string("[1,\0 2]", 7),
      std::string("\"a\0b\"", 5),
  };
  for (const auto& text : refused) EXPECT_FALSE(readJSON(text)) << text;
}

// Members nobody reads, and text after the top-level value, are refused with the
// reader's own message: pinned by the command-line session malformed_anywhere.
TEST(JSONReader, LimitsNestingWithoutExhaustingTheStack) {
  auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(readJSON(nested(kMaxNestingDepth)));
  EXPECT_FALSE(readJSON(nested(kMaxNestingDepth + 1)));
  EXPECT_FALSE(readJSON(std::string(1'048'575, '[')));
}

// How the request envelope is read: the command-line session envelopes.

}  // namespace
}  // namespace lumetra_rpc
