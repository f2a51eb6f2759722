#pragma once
// The 55-case union a successful parse produces, the nine category unions through which a
// request reaches its handler, and the total mapping between them. Each record type
// belongs to exactly one category, so the mapping is computed from the types: there is no
// hand-written 55-way switch to fall out of step.

#include <type_traits>
#include <variant>

#include "parsing/requests.h"

namespace lumetra_rpc {

using LMRPCCoreRequest =
    std::variant<LMRPCInitRequest, LMRPCStartRequest, LMRPCLogEventRequest, LMRPCSetPluginInfoRequest>;

using LMRPCSimpleConfigRequest =
    std::variant<LMRPCIsDebugRequest, LMRPCSetCustomerUserIdRequest, LMRPCSetAdditionalDataRequest,
                 LMRPCSetCurrencyCodeRequest, LMRPCSetDisableAdvertisingIdentifierRequest,
                 LMRPCSetDisableSKAdNetworkRequest, LMRPCSetShouldCollectDeviceNameRequest,
                 LMRPCSetAppInviteHoplineIDRequest, LMRPCSetAnonymizeUserRequest,
                 LMRPCSetDisableCollectASARequest, LMRPCSetDisableAppleAdsAttributionRequest,
                 LMRPCSetUseReceiptValidationSandboxRequest, LMRPCSetUseUninstallSandboxRequest,
                 LMRPCSetPhoneNumberRequest, LMRPCSetDisableIDFVCollectionRequest,
                 LMRPCSetCurrentDeviceLanguageRequest, LMRPCSetStoppedRequest>;

using LMRPCComplexConfigRequest =
    std::variant<LMRPCSetResolveDeepLinkURLsRequest, LMRPCSetHoplineCustomDomainsRequest, LMRPCSetHostRequest,
                 LMRPCSetMinTimeBetweenSessionsRequest, LMRPCSetDeepLinkTimeoutRequest,
                 LMRPCSetInstallIdRequest, LMRPCSetSharingFilterForPartnersRequest,
                 LMRPCSetPartnerDataRequest>;

using LMRPCPrivacyRequest =
    std::variant<LMRPCWaitForATTRequest, LMRPCSetConsentDataRequest, LMRPCEnableTCFDataCollectionRequest>;

using LMRPCDeepLinkRequest =
    std::variant<LMRPCAppendParametersToDeeplinkURLRequest, LMRPCAddPushNotificationDeepLinkPathRequest,
                 LMRPCEnableFacebookDeferredApplinksRequest, LMRPCSetFacebookDeferredAppLinkRequest,
                 LMRPCHandleOpenURLRequest, LMRPCHandleOpenUrlRequest, LMRPCContinueUserActivityRequest,
                 LMRPCPerformOnAppAttributionRequest>;

using LMRPCMonetizationRequest =
    std::variant<LMRPCValidateAndLogInAppPurchaseLegacyRequest, LMRPCValidateAndLogInAppPurchaseV2Request,
                 LMRPCLogAdRevenueRequest, LMRPCLogCrossPromoteImpressionRequest, LMRPCLogAndOpenStoreRequest,
                 LMRPCGenerateInviteUrlRequest, LMRPCLogInviteRequest>;

using LMRPCNotificationRequest =
    std::variant<LMRPCHandlePushNotificationRequest, LMRPCRegisterUninstallRequest>;

using LMRPCDataRequest = std::variant<LMRPCSetUserEmailsRequest, LMRPCLogLocationRequest,
                                      LMRPCGetLumetraUIDRequest, LMRPCGetSDKVersionRequest>;

using LMRPCListenerRequest =
    std::variant<LMRPCRegisterConversionListenerRequest, LMRPCRegisterDeeplinkListenerRequest>;

using LMRPCParsedRequest = std::variant<
    LMRPCInitRequest, LMRPCIsDebugRequest, LMRPCWaitForATTRequest, LMRPCStartRequest, LMRPCLogEventRequest,
    LMRPCSetPluginInfoRequest, LMRPCSetCustomerUserIdRequest, LMRPCSetAdditionalDataRequest,
    LMRPCSetCurrencyCodeRequest, LMRPCSetDisableAdvertisingIdentifierRequest,
    LMRPCSetDisableSKAdNetworkRequest, LMRPCSetShouldCollectDeviceNameRequest,
    LMRPCSetAppInviteHoplineIDRequest, LMRPCSetAnonymizeUserRequest, LMRPCSetDisableCollectASARequest,
    LMRPCSetDisableAppleAdsAttributionRequest, LMRPCSetUseReceiptValidationSandboxRequest,
    LMRPCSetUseUninstallSandboxRequest, LMRPCSetPhoneNumberRequest, LMRPCSetDisableIDFVCollectionRequest,
    LMRPCSetCurrentDeviceLanguageRequest, LMRPCSetResolveDeepLinkURLsRequest,
    LMRPCSetHoplineCustomDomainsRequest, LMRPCSetHostRequest, LMRPCSetMinTimeBetweenSessionsRequest,
    LMRPCSetDeepLinkTimeoutRequest, LMRPCSetInstallIdRequest, LMRPCSetSharingFilterForPartnersRequest,
    LMRPCSetPartnerDataRequest, LMRPCSetStoppedRequest, LMRPCSetConsentDataRequest,
    LMRPCEnableTCFDataCollectionRequest, LMRPCAppendParametersToDeeplinkURLRequest,
    LMRPCAddPushNotificationDeepLinkPathRequest, LMRPCEnableFacebookDeferredApplinksRequest,
    LMRPCSetFacebookDeferredAppLinkRequest, LMRPCHandleOpenURLRequest, LMRPCHandleOpenUrlRequest,
    LMRPCContinueUserActivityRequest, LMRPCHandlePushNotificationRequest, LMRPCRegisterUninstallRequest,
    LMRPCPerformOnAppAttributionRequest, LMRPCLogLocationRequest,
    LMRPCValidateAndLogInAppPurchaseLegacyRequest, LMRPCValidateAndLogInAppPurchaseV2Request,
    LMRPCLogAdRevenueRequest, LMRPCSetUserEmailsRequest, LMRPCLogCrossPromoteImpressionRequest,
    LMRPCLogAndOpenStoreRequest, LMRPCGenerateInviteUrlRequest, LMRPCLogInviteRequest,
    LMRPCRegisterConversionListenerRequest, LMRPCRegisterDeeplinkListenerRequest, LMRPCGetLumetraUIDRequest,
    LMRPCGetSDKVersionRequest>;

namespace detail {
template <typename T, typename Variant>
struct InVariant;
template <typename T, typename... Ts>
struct InVariant<T, std::variant<Ts...>> : std::bool_constant<(std::is_same_v<T, Ts> || ...)> {};

}  // namespace detail

template <typename Record>
struct CategoryOf {
 private:
  template <typename C, typename... Cs>
  struct Pick {
    using type = typename std::conditional_t<detail::InVariant<Record, C>::value, std::type_identity<C>,
                                             Pick<Cs...>>::type;
  };
  template <typename C>
  struct Pick<C> {
    using type = C;
  };
  template <typename... Cs>
  static constexpr int kMemberships = (int(detail::InVariant<Record, Cs>::value) + ...);

 public:
  using type = typename Pick<LMRPCCoreRequest, LMRPCSimpleConfigRequest, LMRPCComplexConfigRequest,
                             LMRPCPrivacyRequest, LMRPCDeepLinkRequest, LMRPCMonetizationRequest,
                             LMRPCNotificationRequest, LMRPCDataRequest, LMRPCListenerRequest>::type;
  static_assert(kMemberships<LMRPCCoreRequest, LMRPCSimpleConfigRequest, LMRPCComplexConfigRequest,
                             LMRPCPrivacyRequest, LMRPCDeepLinkRequest, LMRPCMonetizationRequest,
                             LMRPCNotificationRequest, LMRPCDataRequest, LMRPCListenerRequest> == 1,
                "every request record belongs to exactly one category");
};
template <typename Record>
using CategoryOfT = typename CategoryOf<Record>::type;

}  // namespace lumetra_rpc
