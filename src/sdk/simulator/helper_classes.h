#pragma once
// The SDK's class-level helpers and the objects it creates for its callers: cross
// promotion, share invitations with their link generator, and purchase details. They act
// on the shared LumetraLib's simulator (its config, journal and thread).

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "sdk/simulator/lumetra_lib.h"

namespace lumetra_rpc::simulator {

class LumetraCrossPromotionHelper {
 public:
  using OpenStoreBlock = std::function<void(OpaqueValue urlSession, URLValue clickURL)>;

  static void logCrossPromoteImpression(const std::string& appID, const std::optional<std::string>& campaign,
                                        const std::optional<AnyKeyMap>& parameters);
  static void logAndOpenStore(const std::string& appID, const std::optional<std::string>& campaign,
                              const std::optional<AnyKeyMap>& parameters, OpenStoreBlock openStore);
};

// Records its setters in the journal and builds the invite link from what it was given.
class SimLinkGenerator final : public LumetraLinkGenerator {
 public:
  explicit SimLinkGenerator(std::shared_ptr<LumetraLib> sdk) : sdk_(std::move(sdk)) {}

  void setChannel(const std::string& channel) override;
  void setCampaign(const std::string& campaign) override;
  void setReferrerName(const std::string& name) override;
  void setReferrerImageURL(const std::string& url) override;
  void setReferrerCustomerId(const std::string& id) override;
  void setDeeplinkPath(const std::string& path) override;
  void setBaseDeeplink(const std::string& link) override;
  void setBrandDomain(const std::string& domain) override;
  void addParameters(const JSONObject& parameters) override;

  std::string inviteURL() const;

 private:
  void set(std::string_view call, const std::string& name, const std::string& value);

  std::shared_ptr<LumetraLib> sdk_;
  std::string brandDomain_ = "app.lumetra.link";
  JSONObject query_;
};

class LumetraShareInviteHelper {
 public:
  using GeneratorBlock = LinkGeneratorCallback;
  using InviteURLBlock = std::function<void(std::optional<URLValue> url)>;

  static void generateInviteUrlWithLinkGenerator(GeneratorBlock generator, InviteURLBlock completionHandler);
  static void logInvite(const std::optional<std::string>& channel,
                        const std::optional<AnyKeyMap>& parameters);
};

// `[[LMSDKPurchaseDetails alloc] initWithProductId:transactionId:purchaseType:]`; the
// config can make it yield nothing.
std::shared_ptr<const LMSDKPurchaseDetails> initPurchaseDetails(const std::string& productId,
                                                                const std::string& transactionId,
                                                                std::int64_t purchaseType);

}  // namespace lumetra_rpc::simulator
