#include "sdk/simulator/call_journal.h"

#include "wire/json_writer.h"

namespace lumetra_rpc::simulator {

Expected<std::unique_ptr<CallJournal>, std::string> CallJournal::open(const std::string& path) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  if (!file) return Unexpected{"cannot open journal file " + path};
  return std::make_unique<CallJournal>(std::move(file));
}

void CallJournal::record(std::string_view call, JSONArray args, std::optional<std::string_view> className) {
  JSONObject line{{"args", AnyCodable(std::move(args))}, {"call", AnyCodable(call)}};
  if (className) line.emplace("class", AnyCodable(*className));
  auto text = writeJSON(AnyCodable(std::move(line)));
  // An argument the writer refuses (a non-finite number) still leaves a trace of the call.
  std::string written =
      text ? std::move(text.value()) : R"({"args":null,"call":")" + std::string(call) + "\"}";
  std::lock_guard lock(mutex_);
  file_ << written << '\n';
  file_.flush();
}

AnyCodable toJournal(const AnyCodable& value) {
  if (const auto* map = value.getIf<AnyKeyMap>()) return toJournal(*map);
  if (const auto* opaque = value.getIf<OpaqueValue>()) return AnyCodable(opaque->typeName);
  if (const auto* array = value.getIf<JSONArray>()) {
    JSONArray copy;
    for (const auto& element : *array) copy.push_back(toJournal(element));
    return AnyCodable(std::move(copy));
  }
  if (const auto* object = value.getIf<JSONObject>()) {
    JSONObject copy;
    for (const auto& [key, member] : *object) copy.emplace(key, toJournal(member));
    return AnyCodable(std::move(copy));
  }
  return value;
}

AnyCodable toJournal(const AnyKeyMap& dictionary) {
  JSONObject object;
  for (const auto& [key, value] : dictionary) {
    std::string keyText = "?";
    if (const auto* text = key.getIf<std::string>()) {
      keyText = *text;
    } else if (auto written = writeJSON(toJournal(key))) {
      keyText = written.value();
    }
    object.insert_or_assign(keyText, toJournal(value));
  }
  return AnyCodable(std::move(object));
}

AnyCodable toJournal(const std::optional<AnyKeyMap>& dictionary) {
  return dictionary ? toJournal(*dictionary) : AnyCodable();
}

AnyCodable toJournal(const std::optional<std::string>& text) {
  return text ? AnyCodable(*text) : AnyCodable();
}

AnyCodable toJournal(const StringList& list) {
  JSONArray array(list.begin(), list.end());
  return AnyCodable(std::move(array));
}

AnyCodable toJournal(const std::optional<StringList>& list) {
  return list ? toJournal(*list) : AnyCodable();
}

AnyCodable toJournal(const StringDictionary& dictionary) {
  JSONObject object(dictionary.begin(), dictionary.end());
  return AnyCodable(std::move(object));
}

AnyCodable toJournal(const URLValue& url) {
  return AnyCodable(url.absoluteString);
}

AnyCodable toJournal(const std::optional<URLValue>& url) {
  return url ? toJournal(*url) : AnyCodable();
}

AnyCodable toJournal(const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (auto byte : bytes) {
    hex.push_back(kDigits[byte >> 4]);
    hex.push_back(kDigits[byte & 0x0f]);
  }
  return AnyCodable(std::move(hex));
}

namespace {

AnyCodable optionalBool(const std::optional<bool>& flag) {
  return flag ? AnyCodable(*flag) : AnyCodable();
}

}  // namespace

AnyCodable toJournal(const LumetraConsent& consent) {
  return AnyCodable(
      JSONObject{{"hasConsentForAdStorage", optionalBool(consent.hasConsentForAdStorage)},
                 {"hasConsentForAdsPersonalization", optionalBool(consent.hasConsentForAdsPersonalization)},
                 {"hasConsentForDataUsage", optionalBool(consent.hasConsentForDataUsage)},
                 {"isUserSubjectToGDPR", optionalBool(consent.isUserSubjectToGDPR)}});
}

AnyCodable toJournal(const std::shared_ptr<const LMSDKPurchaseDetails>& details) {
  if (!details) return AnyCodable();
  return AnyCodable(JSONObject{{"productId", AnyCodable(details->productId)},
                               {"purchaseType", AnyCodable(details->purchaseType)},
                               {"transactionId", AnyCodable(details->transactionId)}});
}

AnyCodable toJournal(const LMAdRevenueData& revenue) {
  return AnyCodable(JSONObject{{"currencyIso4217Code", AnyCodable(revenue.currencyIso4217Code)},
                               {"eventRevenue", AnyCodable(revenue.eventRevenue)},
                               {"mediationNetwork", AnyCodable(revenue.mediationNetwork)},
                               {"monetizationNetwork", AnyCodable(revenue.monetizationNetwork)}});
}

AnyCodable toJournal(const LMUserActivity& activity) {
  return AnyCodable(JSONObject{{"activityType", AnyCodable(activity.activityType)},
                               {"webpageURL", toJournal(activity.webpageURL)}});
}

AnyCodable toJournal(const std::optional<ClassHandle>& handle) {
  return handle ? AnyCodable(handle->name) : AnyCodable();
}

std::string typeName(const std::type_info& type) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> demangled(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  std::string name = status == 0 && demangled ? demangled.get() : type.name();
  auto separator = name.rfind("::");
  return separator == std::string::npos ? name : name.substr(separator + 2);
}

}  // namespace lumetra_rpc::simulator
