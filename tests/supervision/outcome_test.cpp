#include "supervision/outcome.h"

#include <gtest/gtest.h>

namespace lumetra_rpc {
namespace {

struct ShapeCase {
  const char* name;
  SDKOutcome outcome;
  JSONObject expected;
};

TEST(ShapeResult, WritesOnlyThePresentMembers) {
  const ShapeCase cases[] = {
      {"success without data", SDKSuccess{"done", std::nullopt}, {{"success", true}, {"message", "done"}}},
      {"success with empty data",
       SDKSuccess{"done", JSONObject{}},
       {{"success", true}, {"message", "done"}, {"data", JSONObject{}}}},
      {"success with data",
       SDKSuccess{"done", JSONObject{{"k", 1}}},
       {{"success", true}, {"message", "done"}, {"data", JSONObject{{"k", 1}}}}},
      {"failure with only a message",
       SDKFailure{"Not ready", std::nullopt, std::nullopt, std::nullopt},
       {{"success", false}, {"message", "Not ready"}}},
      {"timeout failure",
       SDKFailure::ofType("start operation timed out after 10.0 seconds", "timeout"),
       {{"success", false},
        {"message", "start operation timed out after 10.0 seconds"},
        {"errorType", "timeout"}}},
      {"sdk error with code",
       SDKFailure{"start completed with error", "boom", "sdk_error", -7},
       {{"success", false},
        {"message", "start completed with error"},
        {"error", "boom"},
        {"errorType", "sdk_error"},
        {"errorCode", std::int64_t{-7}}}},
  };
  // Equality of values also tells an integer code from a textual one.
  for (const auto& c : cases) EXPECT_EQ(shapeResult(c.outcome), c.expected) << c.name;
}

}  // namespace
}  // namespace lumetra_rpc
