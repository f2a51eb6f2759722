#include <gtest/gtest.h>

#include "handlers/complex_config_handler.h"
#include "handlers/handler_test_support.h"
#include "handlers/privacy_handler.h"
#include "support/fake_sdk.h"

namespace lumetra_rpc {
namespace {

using testing::FakeSDK;

// One request in, one SDK call with these arguments and one message out, no data.
template <typename Request>
struct SetterCase {
  Request request;
  std::string message;
  std::string call;
  std::string argsText;
};

template <typename Handler, typename Request>
void expectSetterCases(const std::vector<SetterCase<Request>>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    auto sdk = std::make_shared<FakeSDK>();
    auto outcome = testing::runHandler(Handler{sdk}, c.request);
    EXPECT_TRUE(testing::isPlainSuccess(outcome, c.message));
    auto calls = sdk->calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].name, c.call);
    EXPECT_EQ(calls[0].argsText(), c.argsText);
  }
}

TEST(ComplexConfigHandler, MessagesAreComposedFromTheRequestValues) {
  using R = LMRPCComplexConfigRequest;
  expectSetterCases<LMRPCComplexConfigHandler, R>({
      {R{LMRPCSetResolveDeepLinkURLsRequest{{"a.com", "b.com", "a.com"}}},
       "resolveDeepLinkURLs set with 3 URL(s)", "setResolveDeepLinkURLs", R"([["a.com","b.com","a.com"]])"},
      {R{LMRPCSetResolveDeepLinkURLsRequest{{"a.com"}}}, "resolveDeepLinkURLs set with 1 URL(s)",
       "setResolveDeepLinkURLs", R"([["a.com"]])"},
      {R{LMRPCSetHoplineCustomDomainsRequest{{"go.brand.io", "x.io"}}},
       "hoplineCustomDomains set with 2 domain(s)", "setHoplineCustomDomains", R"([["go.brand.io","x.io"]])"},
      {R{LMRPCSetHostRequest{"apihost", "eu"}}, "Host set to eu.apihost", "setHost", R"(["apihost","eu"])"},
      {R{LMRPCSetMinTimeBetweenSessionsRequest{0}}, "minTimeBetweenSessions set to 0s",
       "setMinTimeBetweenSessions", "[0]"},
      {R{LMRPCSetDeepLinkTimeoutRequest{4000000000}}, "deepLinkTimeout set to 4000000000s",
       "setDeepLinkTimeout", "[4000000000]"},
      {R{LMRPCSetInstallIdRequest{"i-9"}}, "installId set", "setInstallId", R"(["i-9"])"},
      {R{LMRPCSetSharingFilterForPartnersRequest{std::nullopt}}, "Sharing filter cleared",
       "setSharingFilterForPartners", "[null]"},
      {R{LMRPCSetSharingFilterForPartnersRequest{StringList{}}}, "Sharing filter set for 0 partner(s)",
       "setSharingFilterForPartners", "[[]]"},
      {R{LMRPCSetSharingFilterForPartnersRequest{StringList{"all"}}}, "Sharing filter set for 1 partner(s)",
       "setSharingFilterForPartners", R"([["all"]])"},
      {R{LMRPCSetPartnerDataRequest{"p_1", {{"k", "v"}}}}, "Partner data set for p_1", "setPartnerData",
       R"(["p_1",{"k":"v"}])"},
  });
}

TEST(PrivacyHandler, ConsentAndTCFAnswers) {
  using R = LMRPCPrivacyRequest;
  const std::string absentConsent =
      R"([{"hasConsentForAdStorage":null,"hasConsentForAdsPersonalization":null,)"
      R"("hasConsentForDataUsage":null,"isUserSubjectToGDPR":false}])";
  expectSetterCases<LMRPCPrivacyHandler, R>({
      {R{LMRPCSetConsentDataRequest{false, {}, {}, {}}}, "Consent data set (GDPR=false)", "setConsentData",
       absentConsent},
      {R{LMRPCSetConsentDataRequest{true, true, std::nullopt, false}}, "Consent data set (GDPR=true)",
       "setConsentData",
       R"([{"hasConsentForAdStorage":false,"hasConsentForAdsPersonalization":null,)"
       R"("hasConsentForDataUsage":true,"isUserSubjectToGDPR":true}])"},
      {R{LMRPCEnableTCFDataCollectionRequest{false}}, "TCF data collection disabled",
       "enableTCFDataCollection", "[false]"},
      {R{LMRPCEnableTCFDataCollectionRequest{true}}, "TCF data collection enabled", "enableTCFDataCollection",
       "[true]"},
      {R{LMRPCWaitForATTRequest{60}}, "Waiting for ATT authorization with timeout 60.0s",
       "waitForATTUserAuthorization", "[60]"},
      {R{LMRPCWaitForATTRequest{2.5}}, "Waiting for ATT authorization with timeout 2.5s",
       "waitForATTUserAuthorization", "[2.5]"},
  });
}

TEST(PrivacyHandler, ATTWaitIsRefusedBelowIOS14WithoutCallingTheSDK) {
  auto sdk = std::make_shared<FakeSDK>();
  LMRPCPrivacyHandler handler{sdk};
  sdk->scriptPlatform({13, 7, 9}, {});
  auto outcome = testing::runHandler(handler, LMRPCPrivacyRequest{LMRPCWaitForATTRequest{60}});
  EXPECT_TRUE(
      testing::isTypedFailure(outcome, "ATT requires iOS 14.0 or later", error_type::kUnsupportedPlatform));
  EXPECT_TRUE(sdk->calls().empty());

  sdk->scriptPlatform({14, 0, 0}, {});
  outcome = testing::runHandler(handler, LMRPCPrivacyRequest{LMRPCWaitForATTRequest{60}});
  EXPECT_TRUE(testing::isPlainSuccess(outcome, "Waiting for ATT authorization with timeout 60.0s"));
  EXPECT_EQ(sdk->count("waitForATTUserAuthorization"), 1u);
}

}  // namespace
}  // namespace lumetra_rpc
