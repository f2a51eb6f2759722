// The SDK's properties are read back through the adapter's getters, which no handler
// calls: an embedder's code may. A getter wired to the wrong setting must fail here.

#include <gtest/gtest.h>

#include "sdk/lumetra_sdk_adapter.h"
#include "sdk/simulator/simulator.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

using Adapter = LumetraSDKAdapter;

template <typename T>
struct Property {
  T (*get)(const Adapter&);
  void (*set)(Adapter&, const T&);
};
// Plain functions rather than pointers to the virtual members: in g++ 12's UBSan build,
// calls through a table of those reached the wrong place (every getter read back nothing).
#define LMRPC_PROPERTY(getter, setter)                             \
  {                                                                \
    [](const Adapter& sdk) { return sdk.getter(); },               \
        [](Adapter& sdk, const auto& value) { sdk.setter(value); } \
  }

const Property<bool> kFlags[] = {
    LMRPC_PROPERTY(isDebug, setIsDebug),
    LMRPC_PROPERTY(disableAdvertisingIdentifier, setDisableAdvertisingIdentifier),
    LMRPC_PROPERTY(disableSKAdNetwork, setDisableSKAdNetwork),
    LMRPC_PROPERTY(shouldCollectDeviceName, setShouldCollectDeviceName),
    LMRPC_PROPERTY(anonymizeUser, setAnonymizeUser),
    LMRPC_PROPERTY(disableCollectASA, setDisableCollectASA),
    LMRPC_PROPERTY(disableAppleAdsAttribution, setDisableAppleAdsAttribution),
    LMRPC_PROPERTY(useReceiptValidationSandbox, setUseReceiptValidationSandbox),
    LMRPC_PROPERTY(useUninstallSandbox, setUseUninstallSandbox),
    LMRPC_PROPERTY(disableIDFVCollection, setDisableIDFVCollection),
    LMRPC_PROPERTY(isStopped, setIsStopped),
};

const Property<std::string> kTexts[] = {
    LMRPC_PROPERTY(lumetraDevKey, setLumetraDevKey),
    LMRPC_PROPERTY(appleAppID, setAppleAppID),
    LMRPC_PROPERTY(customerUserID, setCustomerUserID),
    LMRPC_PROPERTY(currencyCode, setCurrencyCode),
    LMRPC_PROPERTY(appInviteHoplineID, setAppInviteHoplineID),
    LMRPC_PROPERTY(currentDeviceLanguage, setCurrentDeviceLanguage),
};

// Each test reads a fresh simulated SDK and leaves a fresh one behind.
class AdapterProperties : public ::testing::Test {
 protected:
  void SetUp() override { simulator::configureSimulator(simulator::defaultSimulatorConfig()); }
  void TearDown() override { simulator::configureSimulator(simulator::defaultSimulatorConfig()); }
};

// Flag i takes bit `round` of i, so over four rounds any two flags differ at least once
// and a getter that reads its neighbour's setting shows.
TEST_F(AdapterProperties, EachFlagReadsBackItsOwnSetting) {
  Adapter sdk;
  for (unsigned round = 0; round < 4; ++round) {
    for (std::size_t i = 0; i < std::size(kFlags); ++i) kFlags[i].set(sdk, ((i >> round) & 1U) != 0);
    for (std::size_t i = 0; i < std::size(kFlags); ++i) {
      EXPECT_EQ(kFlags[i].get(sdk), ((i >> round) & 1U) != 0) << "flag " << i << ", round " << round;
    }
  }
}

TEST_F(AdapterProperties, EachValueReadsBackItsOwnSetting) {
  Adapter sdk;
  for (std::size_t i = 0; i < std::size(kTexts); ++i) kTexts[i].set(sdk, "text " + std::to_string(i));
  for (std::size_t i = 0; i < std::size(kTexts); ++i)
    EXPECT_EQ(kTexts[i].get(sdk), "text " + std::to_string(i));

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
