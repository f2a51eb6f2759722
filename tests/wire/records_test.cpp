#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "wire/client_error.h"
#include "wire/json_writer.h"
#include "wire/number_text.h"

namespace lumetra_rpc {
namespace {

TEST(ClientError, WireFormAndDescriptionDifferWhereTheyShould) {
  struct Case {
    LMRPCClientError error;
    std::int64_t code;
    const char* message;
    const char* description;
  };
  const Case cases[] = {
      {LMRPCClientError::invalidJSON("bad"), 400, "bad", "Invalid JSON: bad"},
      {LMRPCClientError::unknownMethod("foo"), 404, "Method not found: foo", "Unknown method: foo"},
      {LMRPCClientError::validationError("v"), 422, "v", "v"},
      {LMRPCClientError::internalError("i"), 500, "i", "i"},
      {LMRPCClientError::missingParameter("p"), 422, "Missing required parameter: p",
       "Missing required parameter: p"},
      {LMRPCClientError::timeout(), 503, "Request timeout", "Request timed out"},
      {LMRPCClientError::sdkNotInitialized(), 503, "SDK not initialized", "SDK not initialized"},
  };
  for (const auto& c : cases) {
    auto wire = c.error.toRPCError();
    EXPECT_EQ(wire.code, c.code);
    EXPECT_EQ(wire.message, c.message);
    EXPECT_FALSE(wire.details);
    EXPECT_EQ(c.error.errorDescription(), c.description);
  }
  auto withDetails = LMRPCClientError::validationError("v", JSONObject{{"parameter", "url"}}).toRPCError();
  EXPECT_EQ(*writeJSON(toJSON(withDetails)), R"({"code":422,"details":{"parameter":"url"},"message":"v"})");
}

TEST(Records, EventTimestampIsTruncatedMilliseconds) {
  using namespace std::chrono;
  auto before = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  LMRPCEvent event("e", AnyCodable(JSONObject{}));
  auto after = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  EXPECT_GE(event.timestamp, before);
  EXPECT_LE(event.timestamp, after);
}

TEST(NumberText, ShortestDigitsWithPointZeroForIntegralValues) {
  EXPECT_EQ(formatNumberForMessage(200), "200.0");
  EXPECT_EQ(formatNumberForMessage(-180.5), "-180.5");
  EXPECT_EQ(formatNumberForMessage(0.1), "0.1");
  EXPECT_EQ(formatNumberForMessage(10), "10.0");
  EXPECT_EQ(formatNumberForMessage(1e300), "1e+300");
}

// Plain decimal where a reader expects it; exponent form only at the extremes.
TEST(NumberText, PlainDecimalBetweenTheExtremes) {
  const std::pair<double, const char*> cases[] = {
      {100000, "100000.0"},
      {0.0001, "0.0001"},
      {1e15, "1000000000000000.0"},
      {-2.5e-3, "-0.0025"},
      {123456.789, "123456.789"},
      {9007199254740991, "9007199254740991.0"},
      {0, "0.0"},
      {-0.0, "-0.0"},
      {9007199254740992, "9.007199254740992e+15"},
      {0.00001, "1e-05"},
      {-1.5e-7, "-1.5e-07"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(formatNumberForMessage(value), text) << text;
}

}  // namespace
}  // namespace lumetra_rpc
