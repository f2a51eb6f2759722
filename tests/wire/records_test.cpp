#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "wire/client_error.h"
#include "wire/number_text.h"
#include "wire/records.h"

namespace lumetra_rpc {
namespace {

// Descriptions, and the two 503 kinds, are not reached through any request.
TEST(ClientError, WireFormAndDescriptionDifferWhereTheyShould) {
  const std::tuple<LMRPCClientError, std::int64_t, const char*, const char*> cases[] = {
      {LMRPCClientError::invalidJSON("bad"), 400, "bad", "Invalid JSON: bad"},
      {LMRPCClientError::unknownMethod("foo"), 404, "Method not found: foo", "Unknown method: foo"},
      {LMRPCClientError::validationError("v"), 422, "v", "v"},
      {LMRPCClientError::internalError("i"), 500, "i", "i"},
      {LMRPCClientError::missingParameter("p"), 422, "Missing required parameter: p",
       "Missing required parameter: p"},
      {LMRPCClientError::timeout(), 503, "Request timeout", "Request timed out"},
      {LMRPCClientError::sdkNotInitialized(), 503, "SDK not initialized", "SDK not initialized"},
  };
  for (const auto& [error, code, message, description] : cases) {
    EXPECT_EQ(error.toRPCError().code, code) << description;
    EXPECT_EQ(error.toRPCError().message, message);
    EXPECT_EQ(error.errorDescription(), description);
  }
}

TEST(Records, EventTimestampIsTruncatedMilliseconds) {
  using namespace std::chrono;
  auto before = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  LMRPCEvent event("e", AnyCodable(JSONObject{}));
  auto after = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  EXPECT_GE(event.timestamp, before);
  EXPECT_LE(event.timestamp, after);
}

// Shortest digits, ".0" on integral values, plain decimal where a reader expects it and
// exponent form only at the extremes.
TEST(NumberText, PlainDecimalBetweenTheExtremes) {
  const std::pair<double, const char*> cases[] = {
      {200, "200.0"},
      {-180.5, "-180.5"},
      {0.1, "0.1"},
      {1e300, "1e+300"},
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
