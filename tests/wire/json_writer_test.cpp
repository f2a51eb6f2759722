#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

std::string written(const AnyCodable& value) {
  auto text = writeJSON(value);
  return text ? *text : "failed: " + text.error().description;
}

TEST(JSONWriter, WritesCompactSortedAndEscaped) {
  JSONObject inner{{"z", 1}, {"a", JSONArray{true, nullptr, "x"}}};
  JSONObject outer{{"b", inner}, {"a", "http://x/y"}, {"c", 2.5}};
  EXPECT_EQ(written(outer), R"({"a":"http:\/\/x\/y","b":{"a":[true,null,"x"],"z":1},"c":2.5})");
  EXPECT_EQ(written(std::string("q\"\\\n\t\x01")), R"("q\"\\\n\t\u0001")");
  EXPECT_EQ(written(std::string("caf\xC3\xA9")), "\"caf\xC3\xA9\"");
}

TEST(JSONWriter, WritesSDKOnlyKinds) {
  EXPECT_EQ(written(0.1f), "0.10000000149011612");
  EXPECT_EQ(written(DateValue{1.5}), "1.5");
  EXPECT_EQ(written(URLValue{"https://a.b/c"}), R"("https:\/\/a.b\/c")");
  EXPECT_EQ(written(BoxedNumber{42}), "42");
  EXPECT_EQ(written(std::int64_t{-9}), "-9");
}

TEST(JSONWriter, RefusesWhatJSONCannotHoldAnywhereInside) {
  const OpaqueValue opaque{"LMWidget", nullptr};
  EXPECT_EQ(written(opaque), "failed: Unsupported type: LMWidget");
  EXPECT_EQ(written(JSONArray{1, JSONArray{opaque}}), "failed: Unsupported type: LMWidget");
  EXPECT_EQ(written(AnyKeyMap{{AnyCodable(1), AnyCodable("x")}}).rfind("failed: Unsupported type: ", 0), 0u);
  EXPECT_EQ(written(JSONObject{{"n", std::numeric_limits<double>::quiet_NaN()}}).rfind("failed", 0), 0u);
  EXPECT_EQ(written(std::numeric_limits<double>::infinity()).rfind("failed", 0), 0u);

  std::string out = "prefix";
  EXPECT_FALSE(writeJSON(JSONArray{1, opaque}, out));
  EXPECT_EQ(out, "prefix");
}

}  // namespace
}  // namespace lumetra_rpc
