// What the parse functions are built from, at the edges a request text cannot reach or
// where a table of requests would hide the reason. What a parse stores is pinned by the
// command-line session parsed_values, through the SDK calls it leads to.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "parsing/param_getters.h"
#include "parsing/url_check.h"

namespace lumetra_rpc {
namespace {

// Values a JSON text cannot carry, but a host building parameters in code can.
TEST(ParamGetters, NonFiniteNumbersAreNotIntegers) {
  for (double bad : {std::numeric_limits<double>::infinity(), std::nan("")}) {
    auto result = requiredNonNegativeInt(JSONObject{{"n", bad}}, "n");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().toRPCError().message, "n must be a valid non-negative integer");
  }
}

TEST(ParamGetters, HexDecodingCountsCharactersNotBytes) {
  EXPECT_EQ(hexDecodedData(""), Bytes{});
  EXPECT_FALSE(hexDecodedData("\xC3\xA9\xC3\xA9"));  // two characters, neither a digit
  EXPECT_FALSE(hexDecodedData("0x"));
  EXPECT_FALSE(hexDecodedData("+-"));
}

TEST(URLCheck, BlockedSchemesIgnoreCase) {
  EXPECT_TRUE(isBlockedScheme("BLOB"));
  EXPECT_TRUE(isBlockedScheme("VbScript"));
  EXPECT_FALSE(isBlockedScheme("https"));
  EXPECT_FALSE(isBlockedScheme("javascripts"));
  auto url = parseSchemedURL("HTTPS://Example.com/%7Ea");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme, "HTTPS");
  EXPECT_EQ(url->url.absoluteString, "HTTPS://Example.com/%7Ea");
}

}  // namespace
}  // namespace lumetra_rpc
