#pragma once
// What crosses the SDK binding (lumetra_rpc/sdk.h): errors, completions, the SDK's own
// objects and delegate protocols. Dictionaries the SDK hands back may have keys of any
// kind (AnyKeyMap); dictionaries the library hands in are string-keyed (JSONObject).

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lumetra_rpc/export.h"
#include "lumetra_rpc/json_value.h"

namespace lumetra_rpc {

using StringList = std::vector<std::string>;
using StringDictionary = std::map<std::string, std::string, std::less<>>;
using Bytes = std::vector<std::uint8_t>;

struct SDKError {
  std::string domain;
  std::int64_t code = 0;
  std::string localizedDescription;
};

// Called at most once by a well-behaved SDK, possibly never, possibly on any thread.
using SDKCompletion = std::function<void(std::optional<AnyKeyMap> dictionary, std::optional<SDKError> error)>;

struct LumetraConsent {
  std::optional<bool> isUserSubjectToGDPR;
  std::optional<bool> hasConsentForDataUsage;
  std::optional<bool> hasConsentForAdsPersonalization;
  std::optional<bool> hasConsentForAdStorage;
};

struct LMSDKPurchaseDetails {
  std::string productId;
  std::string transactionId;
  std::int64_t purchaseType = 0;  // LMSDKPurchaseType: 0 subscription, 1 one-time purchase
};

struct LMAdRevenueData {
  std::string monetizationNetwork;
  std::int64_t mediationNetwork = 0;  // MediationNetworkType
  std::string currencyIso4217Code;
  double eventRevenue = 0;
};

// The platform's user-activity object (activity type plus web page URL).
struct LMUserActivity {
  std::string activityType;
  std::optional<URLValue> webpageURL;
};

// A class found by name in the running process.
struct ClassHandle {
  std::string name;
};

// The release of the OS the app runs on; without other word, a current device's.
struct OSVersion {
  int major = 17;
  int minor = 0;
  int patch = 0;
  friend auto operator<=>(const OSVersion&, const OSVersion&) = default;
};

// Handed to the invite generator callback; the SDK builds the link from what it returns.
class LMRPC_API LumetraLinkGenerator {
 public:
  virtual ~LumetraLinkGenerator() = default;
  virtual void setChannel(const std::string& channel) = 0;
  virtual void setCampaign(const std::string& campaign) = 0;
  virtual void setReferrerName(const std::string& name) = 0;
  virtual void setReferrerImageURL(const std::string& url) = 0;
  virtual void setReferrerCustomerId(const std::string& id) = 0;
  virtual void setDeeplinkPath(const std::string& path) = 0;
  virtual void setBaseDeeplink(const std::string& link) = 0;
  virtual void setBrandDomain(const std::string& domain) = 0;
  virtual void addParameters(const JSONObject& parameters) = 0;
};
using LinkGeneratorCallback =
    std::function<std::shared_ptr<LumetraLinkGenerator>(std::shared_ptr<LumetraLinkGenerator>)>;

struct LumetraDeepLink {
  std::optional<std::string> deeplinkValue;
  AnyKeyMap clickEvent;
  bool isDeferred = false;
};

struct LumetraDeepLinkResult {
  std::uint64_t status = 0;
  std::optional<LumetraDeepLink> deepLink;
  std::optional<SDKError> error;
};

// The SDK's conversion delegate protocol. Callbacks may arrive on any thread.
class LMRPC_API LumetraLibDelegate {
 public:
  virtual ~LumetraLibDelegate() = default;
  virtual void onConversionDataSuccess(const AnyKeyMap& conversionInfo) noexcept = 0;
  virtual void onConversionDataFail(const SDKError& error) noexcept = 0;
  virtual void onAppOpenAttribution(const AnyKeyMap& attributionData) noexcept = 0;
  virtual void onAppOpenAttributionFailure(const SDKError& error) noexcept = 0;
};

// The SDK's deep-link delegate protocol.
class LMRPC_API LumetraDeepLinkDelegate {
 public:
  virtual ~LumetraDeepLinkDelegate() = default;
  virtual void didResolveDeepLink(const LumetraDeepLinkResult& result) noexcept = 0;
};

}  // namespace lumetra_rpc
