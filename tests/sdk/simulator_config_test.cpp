#include <gtest/gtest.h>

#include "sdk/simulator/simulator_config.h"

namespace lumetra_rpc::simulator {
namespace {

struct Refusal {
  const char* config;
  const char* message;
};

// Each refusal names the key to fix; a wrong kind anywhere must not pass silently.
const Refusal kRefusals[] = {
    {R"({"uid": 7})", R"("uid" must be a string)"},
    {R"({"osVersion": "seventeen"})", R"("osVersion" must be a version string)"},
    {R"({"osVersion": "17.1.2.3"})", R"("osVersion" must be a version string)"},
    {R"({"classes": ["A", 1]})", R"("classes" must be an array of class names)"},
    {R"({"replies": []})", R"("replies" must be an object)"},
    {R"({"replies": {"strat": {}}})", R"("replies.strat" is not a known operation)"},
    {R"({"replies": {"start": {"delayMs": -1}}})",
     R"("replies.start.delayMs" must be a non-negative integer)"},
    {R"({"replies": {"logEvent": {"times": 1.5}}})",
     R"("replies.logEvent.times" must be a non-negative integer)"},
    {R"({"replies": {"purchase": {"error": {"code": "x"}}}})",
     R"("replies.purchase.error.code" must be an integer)"},
    {R"({"replies": {"purchaseV2": {"data": [1]}}})", R"("replies.purchaseV2.data" must be an object)"},
    {R"({"replies": {"inviteUrl": {"url": 3}}})", R"("replies.inviteUrl.url" must be a string or null)"},
    {R"({"replies": {"openStore": {"never": "yes"}}})", R"("replies.openStore.never" must be a boolean)"},
    {R"({"purchaseDetails": "maybe"})", R"("purchaseDetails" must be)"},
    {R"({"conversion": {"error": "boom"}})", R"("conversion.error" must be an object)"},
    {R"({"deepLink": {"status": -2}})", R"("deepLink.status" must be a non-negative integer)"},
    {R"({"deepLink": {"deepLink": {"isDeferred": 1}}})",
     R"("deepLink.deepLink.isDeferred" must be a boolean)"},
    {R"([])", "the top level must be an object"},
    {R"({"uid": )", "simulator config is not valid JSON"},
};

TEST(SimulatorConfig, RefusalsNameTheKey) {
  for (const auto& refusal : kRefusals) {
    auto parsed = parseSimulatorConfig(refusal.config);
    ASSERT_FALSE(parsed.hasValue()) << refusal.config;
    EXPECT_NE(parsed.error().find(refusal.message), std::string::npos)
        << refusal.config << " gave: " << parsed.error();
  }
}

// That a delay alone keeps the default answer, and that "never" wins over data, the
// sessions listeners_gate_events and timeouts show.

TEST(SimulatorConfig, TheExampleConfigParses) {
  auto text = readSimulatorConfigFile(LMRPC_TEST_DATA_DIR "/../../examples/simulator_config.json");
  ASSERT_TRUE(text.hasValue()) << text.error();
  auto parsed = parseSimulatorConfig(*text);
  ASSERT_TRUE(parsed.hasValue()) << parsed.error();
  ASSERT_TRUE(parsed->deepLink.has_value());
  ASSERT_TRUE(parsed->deepLink->result.deepLink.has_value());
  EXPECT_EQ(parsed->deepLink->result.deepLink->deeplinkValue, std::optional<std::string>("product/42"));
}

}  // namespace
}  // namespace lumetra_rpc::simulator
