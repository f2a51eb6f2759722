// Purchase, ad-revenue and invitation methods; the cross-promotion pair shares the
// routine in the header.

#include "parsing/lookup_tables.h"
#include "parsing/parse_functions.h"

namespace lumetra_rpc {
namespace {

using Error = LMRPCClientError;

// Only checks the outer object; its entries are read by dotted path afterwards.
ClientResult<std::monostate> checkDictionary(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return fail(Error::missingParameter(std::string(name)));
  if (value->getIf<JSONObject>() == nullptr)
    return fail(Error::validationError(std::string(name) + " must be a dictionary"));
  return std::monostate{};
}

ClientResult<std::string> purchaseType(const JSONObject& params, std::string_view path) {
  ClientResult<std::string> type = requiredNestedString(params, path);
  if (type && !purchaseTypes().contains(*type)) {
    return fail(Error::validationError("Invalid purchaseType: '" + *type +
                                       "'. Valid options: " + validOptions(purchaseTypes())));
  }
  return type;
}

// Matching ignores letter case and underscores only; the message quotes the text as sent.
ClientResult<std::int64_t> mediationNetwork(const JSONObject& params, std::string_view name) {
  const AnyCodable* value = findParam(params, name);
  if (value == nullptr) return mediationNetworks().at("custom");
  const auto* text = value->getIf<std::string>();
  if (text == nullptr) return fail(Error::validationError(std::string(name) + " must be a String"));
  std::string normalised = lowercased(*text);
  std::erase(normalised, '_');
  auto found = mediationNetworks().find(normalised);
  if (found == mediationNetworks().end()) {
    return fail(Error::validationError("Invalid mediationNetwork: '" + *text +
                                       "'. Valid options: " + validOptions(mediationNetworks())));
  }
  return found->second;
}

}  // namespace

ParseResult parseValidateAndLogInAppPurchaseLegacy(const JSONObject& params) {
  ParamReader in(params);
  LMRPCValidateAndLogInAppPurchaseLegacyRequest record;
  record.productIdentifier = in.read(requiredString, "productIdentifier");
  record.price = in.read(requiredTypedValue<std::string>, "price");
  record.currency = in.read(requiredString, "currency");
  record.transactionId = in.read(requiredString, "transactionId");
  record.additionalParameters = optionalDictionary(params, "additionalParameters");
  return in.finish(std::move(record));
}

ParseResult parseValidateAndLogInAppPurchaseV2(const JSONObject& params) {
  ParamReader in(params);
  LMRPCValidateAndLogInAppPurchaseV2Request record;
  in.read(checkDictionary, "product");
  record.productId = in.read(requiredNestedString, "product.productId");
  in.read(checkDictionary, "transaction");
  record.transactionId = in.read(requiredNestedString, "transaction.transactionId");
  record.purchaseType = in.read(purchaseType, "transaction.purchaseType");
  record.additionalParameters = optionalDictionary(params, "additionalParameters");
  return in.finish(std::move(record));
}

ParseResult parseLogAdRevenue(const JSONObject& params) {
  ParamReader in(params);
  LMRPCLogAdRevenueRequest record;
  record.monetizationNetwork = in.read(requiredString, "monetizationNetwork");
  record.mediationNetwork = in.read(mediationNetwork, "mediationNetwork");
  record.currencyIso4217Code = in.read(requiredString, "currencyIso4217Code");
  record.eventRevenue = in.read(requiredNumber, "eventRevenue");
  record.additionalParameters = optionalDictionary(params, "additionalParameters");
  return in.finish(std::move(record));
}

ParseResult parseGenerateInviteUrl(const JSONObject& params) {
  LMRPCGenerateInviteUrlRequest record;
  record.channel = optionalString(params, "channel");
  record.campaign = optionalString(params, "campaign");
  record.referrerName = optionalString(params, "referrerName");
  record.referrerImageURL = optionalString(params, "referrerImageURL");
  record.referrerCustomerId = optionalString(params, "referrerCustomerId");
  record.deeplinkPath = optionalString(params, "deeplinkPath");
  record.baseDeeplink = optionalString(params, "baseDeeplink");
  record.brandDomain = optionalString(params, "brandDomain");
  record.customParams = optionalDictionary(params, "customParams");
  return LMRPCParsedRequest(std::move(record));
}

ParseResult parseLogInvite(const JSONObject& params) {
  return LMRPCParsedRequest(
      LMRPCLogInviteRequest{optionalString(params, "channel"), optionalDictionary(params, "parameters")});
}

}  // namespace lumetra_rpc
