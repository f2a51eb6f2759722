// The SDK's properties are read back through the adapter's getters, which no handler
// calls: an embedder's code may. A getter wired to the wrong setting must fail here.

#include <gtest/gtest.h>

#include "sdk/lumetra_sdk_adapter.h"
#include "sdk/simulator/simulator.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

using Adapter = LumetraSDKAdapter;

struct FlagProperty {
  bool (Adapter::*get)() const;
  void (Adapter::*set)(bool);
};

constexpr FlagProperty kFlags[] = {
    {&Adapter::isDebug, &Adapter::setIsDebug},
    {&Adapter::disableAdvertisingIdentifier, &Adapter::setDisableAdvertisingIdentifier},
    {&Adapter::disableSKAdNetwork, &Adapter::setDisableSKAdNetwork},
    {&Adapter::shouldCollectDeviceName, &Adapter::setShouldCollectDeviceName},
    {&Adapter::anonymizeUser, &Adapter::setAnonymizeUser},
    {&Adapter::disableCollectASA, &Adapter::setDisableCollectASA},
    {&Adapter::disableAppleAdsAttribution, &Adapter::setDisableAppleAdsAttribution},
    {&Adapter::useReceiptValidationSandbox, &Adapter::setUseReceiptValidationSandbox},
    {&Adapter::useUninstallSandbox, &Adapter::setUseUninstallSandbox},
    {&Adapter::disableIDFVCollection, &Adapter::setDisableIDFVCollection},
    {&Adapter::isStopped, &Adapter::setIsStopped},
};

struct TextProperty {
  std::string (Adapter::*get)() const;
  void (Adapter::*set)(const std::string&);
};

constexpr TextProperty kTexts[] = {
    {&Adapter::lumetraDevKey, &Adapter::setLumetraDevKey},
    {&Adapter::appleAppID, &Adapter::setAppleAppID},
    {&Adapter::customerUserID, &Adapter::setCustomerUserID},
    {&Adapter::currencyCode, &Adapter::setCurrencyCode},
    {&Adapter::appInviteHoplineID, &Adapter::setAppInviteHoplineID},
    {&Adapter::currentDeviceLanguage, &Adapter::setCurrentDeviceLanguage},
};

// Each test reads a fresh simulated SDK and leaves a fresh one behind.
class AdapterProperties : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(simulator::configureSimulator(simulator::defaultSimulatorConfig()).hasValue());
  }
  void TearDown() override { simulator::configureSimulator(simulator::defaultSimulatorConfig()); }
};

// Flag i takes bit `round` of i, so over four rounds any two flags differ at least once
// and a getter that reads its neighbour's setting shows.
TEST_F(AdapterProperties, EachFlagReadsBackItsOwnSetting) {
  Adapter sdk;
  for (unsigned round = 0; round < 4; ++round) {
    for (std::size_t i = 0; i < std::size(kFlags); ++i) (sdk.*kFlags[i].set)(((i >> round) & 1U) != 0);
    for (std::size_t i = 0; i < std::size(kFlags); ++i) {
      EXPECT_EQ((sdk.*kFlags[i].get)(), ((i >> round) & 1U) != 0) << "flag " << i << ", round " << round;
    }
  }
}

TEST_F(AdapterProperties, EachValueReadsBackItsOwnSetting) {
  Adapter sdk;
  for (std::size_t i = 0; i < std::size(kTexts); ++i) (sdk.*kTexts[i].set)("text " + std::to_string(i));
  for (std::size_t i = 0; i < std::size(kTexts); ++i)
    EXPECT_EQ((sdk.*kTexts[i].get)(), "text " + std::to_string(i));

  sdk.setAdditionalData(JSONObject{{"plan", "gold"}});
  EXPECT_EQ(writeJSON(AnyCodable(sdk.additionalData())).value(), R"({"plan":"gold"})");
  sdk.setResolveDeepLinkURLs({"a.example", "b.example"});
  sdk.setHoplineCustomDomains({"c.example"});
  EXPECT_EQ(sdk.resolveDeepLinkURLs(), (StringList{"a.example", "b.example"}));
  EXPECT_EQ(sdk.hoplineCustomDomains(), StringList{"c.example"});
  sdk.setMinTimeBetweenSessions(17);
  sdk.setDeepLinkTimeout(23);
  EXPECT_EQ(sdk.minTimeBetweenSessions(), 17U);
  EXPECT_EQ(sdk.deepLinkTimeout(), 23U);

  sdk.setFacebookDeferredAppLink(URLValue{"https://fb.example/x"});
  EXPECT_EQ(sdk.facebookDeferredAppLink(), URLValue{"https://fb.example/x"});
  sdk.setFacebookDeferredAppLink(std::nullopt);
  EXPECT_FALSE(sdk.facebookDeferredAppLink());
}

}  // namespace
}  // namespace lumetra_rpc
