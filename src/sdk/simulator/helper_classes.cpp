#include "sdk/simulator/helper_classes.h"

#include <cctype>

#include "wire/json_writer.h"

namespace lumetra_rpc::simulator {

namespace {

constexpr std::string_view kCrossPromotionHelper = "LumetraCrossPromotionHelper";
constexpr std::string_view kShareInviteHelper = "LumetraShareInviteHelper";
constexpr std::string_view kLinkGenerator = "LumetraLinkGenerator";

// Links are built in place. The simulator stands in for the SDK where throughput is
// measured, and a string per encoded part would weigh more there than the library's work.
void appendPercentEncoded(std::string& url, std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (unsigned char c : text) {
    if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
      url.push_back(static_cast<char>(c));
    } else {
      url += {'%', kDigits[c >> 4], kDigits[c & 0x0f]};
    }
  }
}

void appendQueryValue(std::string& url, const AnyCodable& value) {
  if (const auto* text = value.getIf<std::string>()) return appendPercentEncoded(url, *text);
  if (auto written = writeJSON(value)) appendPercentEncoded(url, *written);
}

std::string storeClickURL(const std::string& appID, const std::optional<std::string>& campaign) {
  std::string url = "https://app.lumetra.link/cross-promote/";
  appendPercentEncoded(url, appID);
  if (campaign) {
    url += "?campaign=";
    appendPercentEncoded(url, *campaign);
  }
  return url;
}

}  // namespace

void LumetraCrossPromotionHelper::logCrossPromoteImpression(const std::string& appID,
                                                            const std::optional<std::string>& campaign,
                                                            const std::optional<AnyKeyMap>& parameters) {
  LumetraLib::shared()->context().record(
      "logCrossPromoteImpression:campaign:parameters:",
      [&] {
        return JSONArray{appID, toJournal(campaign), toJournal(parameters)};
      },
      kCrossPromotionHelper);
}

void LumetraCrossPromotionHelper::logAndOpenStore(const std::string& appID,
                                                  const std::optional<std::string>& campaign,
                                                  const std::optional<AnyKeyMap>& parameters,
                                                  OpenStoreBlock openStore) {
  auto& context = LumetraLib::shared()->context();
  context.record(
      "logAndOpenStore:campaign:parameters:openStore:",
      [&] {
        return JSONArray{appID, toJournal(campaign), toJournal(parameters)};
      },
      kCrossPromotionHelper);
  const auto& reply = context.config().openStore;
  if (reply.kind != URLReply::Kind::url) return;
  URLValue url{reply.url.value_or(storeClickURL(appID, campaign))};
  context.answer(reply.timing, [openStore = std::move(openStore), url] {
    openStore(OpaqueValue{"NSURLSession", nullptr}, url);
  });
}

void SimLinkGenerator::set(std::string_view call, const std::string& name, const std::string& value) {
  sdk_->context().record(
      call, [&] { return JSONArray{value}; }, kLinkGenerator);
  query_.insert_or_assign(name, AnyCodable(value));
}

void SimLinkGenerator::setChannel(const std::string& v) {
  set("setChannel:", "channel", v);
}
void SimLinkGenerator::setCampaign(const std::string& v) {
  set("setCampaign:", "campaign", v);
}
void SimLinkGenerator::setReferrerName(const std::string& v) {
  set("setReferrerName:", "referrer_name", v);
}
void SimLinkGenerator::setReferrerImageURL(const std::string& v) {
  set("setReferrerImageURL:", "referrer_image_url", v);
}
void SimLinkGenerator::setReferrerCustomerId(const std::string& v) {
  set("setReferrerCustomerId:", "referrer_customer_id", v);
}
void SimLinkGenerator::setDeeplinkPath(const std::string& v) {
  set("setDeeplinkPath:", "deeplink_path", v);
}
void SimLinkGenerator::setBaseDeeplink(const std::string& v) {
  set("setBaseDeeplink:", "base_deeplink", v);
}

void SimLinkGenerator::setBrandDomain(const std::string& domain) {
  sdk_->context().record(
      "setBrandDomain:", [&] { return JSONArray{domain}; }, kLinkGenerator);
  brandDomain_ = domain;
}

void SimLinkGenerator::addParameters(const JSONObject& parameters) {
  sdk_->context().record(
      "addParameters:", [&] { return JSONArray{toJournal(AnyCodable(parameters))}; }, kLinkGenerator);
  for (const auto& [key, value] : parameters) query_.insert_or_assign(key, value);
}

std::string SimLinkGenerator::inviteURL() const {
  std::string url;
  url.reserve(256);
  url.append("https://").append(brandDomain_).append("/invite");
  char separator = '?';
  for (const auto& [key, value] : query_) {
    url += separator;
    appendPercentEncoded(url, key);
    url += '=';
    appendQueryValue(url, value);
    separator = '&';
  }
  return url;
}

void LumetraShareInviteHelper::generateInviteUrlWithLinkGenerator(GeneratorBlock generator,
                                                                  InviteURLBlock completionHandler) {
  auto sdk = LumetraLib::shared();
  auto& context = sdk->context();
  context.record("generateInviteUrlWithLinkGenerator:completionHandler:", kShareInviteHelper);
  auto given = std::make_shared<SimLinkGenerator>(sdk);
  auto returned = std::dynamic_pointer_cast<SimLinkGenerator>(generator ? generator(given) : given);
  const auto& reply = context.config().inviteUrl;
  if (reply.kind == URLReply::Kind::never) return;
  std::optional<URLValue> url;
  if (reply.kind == URLReply::Kind::url) {
    url = URLValue{reply.url.value_or((returned ? returned : given)->inviteURL())};
  }
  context.answer(reply.timing,
                 [completionHandler = std::move(completionHandler), url] { completionHandler(url); });
}

void LumetraShareInviteHelper::logInvite(const std::optional<std::string>& channel,
                                         const std::optional<AnyKeyMap>& parameters) {
  LumetraLib::shared()->context().record(
      "logInvite:parameters:",
      [&] {
        return JSONArray{toJournal(channel), toJournal(parameters)};
      },
      kShareInviteHelper);
}

std::shared_ptr<const LMSDKPurchaseDetails> initPurchaseDetails(const std::string& productId,
                                                                const std::string& transactionId,
                                                                std::int64_t purchaseType) {
  auto& context = LumetraLib::shared()->context();
  context.record(
      "initWithProductId:transactionId:purchaseType:",
      [&] {
        return JSONArray{productId, transactionId, purchaseType};
      },
      "LMSDKPurchaseDetails");
  if (context.config().purchaseDetailsFail) return nullptr;
  return std::make_shared<const LMSDKPurchaseDetails>(
      LMSDKPurchaseDetails{productId, transactionId, purchaseType});
}

}  // namespace lumetra_rpc::simulator
