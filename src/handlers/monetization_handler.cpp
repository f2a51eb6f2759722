#include "handlers/monetization_handler.h"

#include "handlers/handler_support.h"
#include "parsing/lookup_tables.h"
#include "supervision/sdk_wait.h"

namespace lumetra_rpc {

namespace {

struct MonetizationContext {
  std::shared_ptr<LMRPCMonetizationSDK> sdk;
  TimeoutConfig timeouts;
};

SDKOutcome success(OutcomeMessage message) {
  return SDKSuccess{std::move(message), std::nullopt};
}

// A completion dictionary with one string key, as the SDK would hand it back.
AnyKeyMap singleEntry(std::string key, std::string value) {
  return AnyKeyMap{{AnyCodable(std::move(key)), AnyCodable(std::move(value))}};
}

SDKRace apply(const MonetizationContext& ctx, LMRPCValidateAndLogInAppPurchaseLegacyRequest r) {
  SDKOperation operation = [sdk = ctx.sdk, r = std::move(r)](SDKCompletion completion) {
    sdk->validateAndLogInAppPurchase(
        r.productIdentifier, r.price, r.currency, r.transactionId, r.additionalParameters,
        [completion](AnyKeyMap response) { completion(std::move(response), std::nullopt); },
        [completion](SDKError error, AnyCodable) { completion(std::nullopt, std::move(error)); });
  };
  return {ctx.timeouts.purchase, "validateAndLogInAppPurchase", std::move(operation), std::nullopt};
}

RoutedOutcome apply(const MonetizationContext& ctx, LMRPCValidateAndLogInAppPurchaseV2Request r) {
  const auto& table = purchaseTypes();
  auto type = table.find(r.purchaseType);
  if (type == table.end()) {
    return asRouted(SDKFailure::ofType("Invalid purchase type", error_type::kValidation));
  }
  auto details = ctx.sdk->makePurchaseDetails(r.productId, r.transactionId, type->second);
  if (!details) {
    return asRouted(
        SDKFailure::ofType("Failed to create purchase details from provided parameters", error_type::kSDK));
  }
  SDKOperation operation = [sdk = ctx.sdk, details = std::move(details),
                            extra = std::move(r.additionalParameters)](SDKCompletion completion) {
    sdk->validateAndLogInAppPurchase(details, extra, std::move(completion));
  };
  return asRouted(
      SDKRace{ctx.timeouts.purchase, "validateAndLogInAppPurchaseV2", std::move(operation), std::nullopt});
}

SDKOutcome apply(const MonetizationContext& ctx, const LMRPCLogAdRevenueRequest& r) {
  LMAdRevenueData revenue{r.monetizationNetwork, r.mediationNetwork, r.currencyIso4217Code, r.eventRevenue};
  ctx.sdk->logAdRevenue(revenue, r.additionalParameters);
  return success("Ad revenue logged");
}

SDKOutcome apply(const MonetizationContext& ctx, const LMRPCLogCrossPromoteImpressionRequest& r) {
  ctx.sdk->logCrossPromoteImpression(r.appID, r.campaign, r.parameters);
  return success("Cross promote impression logged");
}

// The library does not open the store itself; the click URL goes back to the host.
SDKRace apply(const MonetizationContext& ctx, LMRPCLogAndOpenStoreRequest r) {
  SDKOperation operation = [sdk = ctx.sdk, r = std::move(r)](SDKCompletion completion) {
    sdk->logAndOpenStore(r.appID, r.campaign, r.parameters, [completion](OpaqueValue, URLValue clickURL) {
      completion(singleEntry("clickURL", clickURL.absoluteString), std::nullopt);
    });
  };
  return {ctx.timeouts.crossPromotion, "logAndOpenStore", std::move(operation), std::nullopt};
}

// Absent fields leave the generator's own defaults alone.
void fillGenerator(LumetraLinkGenerator& generator, const LMRPCGenerateInviteUrlRequest& r) {
  using G = LumetraLinkGenerator;
  const std::pair<const std::optional<std::string>*, void (G::*)(const std::string&)> steps[] = {
      {&r.channel, &G::setChannel},
      {&r.campaign, &G::setCampaign},
      {&r.referrerName, &G::setReferrerName},
      {&r.referrerImageURL, &G::setReferrerImageURL},
      {&r.referrerCustomerId, &G::setReferrerCustomerId},
      {&r.deeplinkPath, &G::setDeeplinkPath},
      {&r.baseDeeplink, &G::setBaseDeeplink},
      {&r.brandDomain, &G::setBrandDomain},
  };
  for (const auto& [field, setter] : steps) {
    if (*field) (generator.*setter)(**field);
  }
  if (r.customParams) generator.addParameters(*r.customParams);
}

void answerInvite(const SDKCompletion& completion, const std::optional<URLValue>& url) {
  if (url) {
    completion(singleEntry("url", url->absoluteString), std::nullopt);
  } else {
    completion(std::nullopt, SDKError{"LumetraRPC", 500, "Failed to generate invite URL"});
  }
}

SDKRace apply(const MonetizationContext& ctx, LMRPCGenerateInviteUrlRequest r) {
  auto request = std::make_shared<const LMRPCGenerateInviteUrlRequest>(std::move(r));
  SDKOperation operation = [sdk = ctx.sdk, request](SDKCompletion completion) {
    sdk->generateInviteUrl(
        [request](std::shared_ptr<LumetraLinkGenerator> generator) {
          if (generator) fillGenerator(*generator, *request);
          return generator;
        },
        [completion](std::optional<URLValue> url) { answerInvite(completion, url); });
  };
  return {ctx.timeouts.shareInvite, "generateInviteUrl", std::move(operation), std::nullopt};
}

SDKOutcome apply(const MonetizationContext& ctx, const LMRPCLogInviteRequest& r) {
  ctx.sdk->logInvite(r.channel, r.parameters);
  return success("Invite logged");
}

}  // namespace

RoutedOutcome LMRPCMonetizationHandler::handle(LMRPCMonetizationRequest request) const {
  MonetizationContext ctx{sdk_, timeoutConfig_};
  auto visitCase = [ctx](auto&& record) { return apply(ctx, std::move(record)); };
  return handlers::dispatchCase(std::move(request), std::move(visitCase));
}

}  // namespace lumetra_rpc
