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

TEST(JSONReader, RefusesNumbersNoDoubleCanHold) {
  for (const char* text : {"1e400", "-1e400", "[1e400]", "{\"a\":1E999}"}) {
    auto value = readJSON(text);
    ASSERT_FALSE(value) << text;
    EXPECT_EQ(value.error().description, "Unsupported JSON type") << text;
  }
}

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

// The on-demand reader skips what it is not asked for; members nobody reads must still be
// JSON. A well-formed number too large for a double is fine there: it is never converted.
TEST(JSONReader, ValidatesMembersThatAreNeverRead) {
  for (const char* member : {"[1,,2]", "tru", "01", "[1 2]", R"({"a" 1})", "NaN", "'s'", R"("\q")",
                             R"("\u12")", R"({"a":1,})", ".5", "-", "+1", "1.", "1e", R"([{"b":[nul]}])"}) {
    const std::string text = std::string(R"({"id":1,"method":"m","x":)") + member + "}";
    auto request = readRequest(text);
    ASSERT_FALSE(request) << text;
    EXPECT_EQ(request.error().description.rfind("The given data was not valid JSON: ", 0), 0u) << text;
  }
  EXPECT_TRUE(readRequest(R"({"x":1e400,"y":[-1E+999,{"z":"\u00e9"}],"method":"m"})"));
  EXPECT_FALSE(readRequest(R"({"method":"m","\ud800":1})"));
}

TEST(JSONReader, SaysWhenTextFollowsTheTopLevelValue) {
  for (const char* text :
       {R"({"id":1,"method":"x"} 7)", R"({"id":1,"method":"x"} {})", R"({"method":"}"}])", "[1] x", "[1]]"}) {
    auto value = readJSON(text);
    ASSERT_FALSE(value) << text;
    EXPECT_EQ(value.error().description,
              "The given data was not valid JSON: Unexpected text after the end of the top-level value")
        << text;
  }
  EXPECT_EQ(
      readRequest(R"({"method":"x")").error().description,
      "The given data was not valid JSON: JSON document ended early in the middle of an object or array.");
}

TEST(JSONReader, LimitsNestingWithoutExhaustingTheStack) {
  auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(readJSON(nested(kMaxNestingDepth)));
  EXPECT_FALSE(readJSON(nested(kMaxNestingDepth + 1)));
  EXPECT_FALSE(readJSON(std::string(1'048'575, '[')));
}

TEST(JSONReader, ReadsTheRequestEnvelope) {
  auto request = readRequest(R"({"jsonrpc":"2.0","id":{"b":1,"a":2},"method":"m","params":null})");
  ASSERT_TRUE(request);
  EXPECT_EQ(request->method, "m");
  EXPECT_TRUE(request->params.empty());
  ASSERT_TRUE(request->id);
  EXPECT_EQ(*writeJSON(*request->id), R"({"a":2,"b":1})");
  auto nullId = readRequest(R"({"id":null,"method":"m"})");
  ASSERT_TRUE(nullId);
  EXPECT_FALSE(nullId->id);

  for (const char* text : {"[]", "{}", R"({"method":1})", R"({"method":"m","params":[]})",
                           R"({"method":"m","params":"x"})", R"({"method":"m"} {})"}) {
    EXPECT_FALSE(readRequest(text)) << text;
  }
}

}  // namespace
}  // namespace lumetra_rpc
