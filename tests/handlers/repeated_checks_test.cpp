// Checks a handler repeats although parsing already refuses such requests, so that a
// handler driven by another front end stays safe. No request text reaches them.

#include <gtest/gtest.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>

#include "handlers/core_handler.h"
#include "handlers/monetization_handler.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/result_object.h"

namespace lumetra_rpc {
namespace {

// Both checks answer before anything waits, so a plain io_context runs them to the end.
JSONObject outcomeOf(RoutedOutcome routed) {
  boost::asio::io_context io;
  JSONObject shaped{{"missing", true}};
  boost::asio::co_spawn(io, awaitOutcome(std::move(routed)), [&](std::exception_ptr, SDKOutcome outcome) {
    shaped = testing::resultObject(outcome);
  });
  io.run();
  return shaped;
}

JSONObject refused(const char* message) {
  return {{"success", false}, {"message", message}, {"errorType", "validation_error"}};
}

TEST(RepeatedChecks, UnknownPluginAndPurchaseTypesAreRefused) {
  auto sdk = std::make_shared<LumetraSDKAdapter>();
  LMRPCCoreHandler core{sdk, TimeoutConfig{}};
  EXPECT_EQ(outcomeOf(core.handle(LMRPCCoreRequest{LMRPCSetPluginInfoRequest{"Unity", "6.1.0", {}}})),
            refused("Invalid plugin type: Unity"));
  LMRPCMonetizationHandler monetization{sdk, TimeoutConfig{}};
  EXPECT_EQ(outcomeOf(monetization.handle(LMRPCMonetizationRequest{
                LMRPCValidateAndLogInAppPurchaseV2Request{"gems", "t", "Subscription", {}}})),
            refused("Invalid purchase type"));
}

}  // namespace
}  // namespace lumetra_rpc
