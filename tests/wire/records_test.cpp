#include <gtest/gtest.h>

#include <chrono>
#include <tuple>

#include "wire/client_error.h"
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

}  // namespace
}  // namespace lumetra_rpc
