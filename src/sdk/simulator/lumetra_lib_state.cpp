// What the simulated LumetraLib keeps and hands back: its settings, its identity and its
// delegates.
#include "sdk/simulator/lumetra_lib.h"

namespace lumetra_rpc::simulator {

void LumetraLib::handlePushNotification(const AnyKeyMap& pushPayload) {
  context_->record("handlePushNotification:", [&] { return JSONArray{toJournal(pushPayload)}; });
}

void LumetraLib::registerUninstall(const Bytes& deviceToken) {
  context_->record("registerUninstall:", [&] { return JSONArray{toJournal(deviceToken)}; });
}

void LumetraLib::setUserEmails(const StringList& userEmails, std::int64_t withCryptType) {
  context_->record("setUserEmails:withCryptType:", [&] {
    return JSONArray{toJournal(userEmails), withCryptType};
  });
}

void LumetraLib::logLocation(double longitude, double latitude) {
  context_->record("logLocation:latitude:", [&] { return JSONArray{longitude, latitude}; });
}

std::string LumetraLib::getLumetraUID() {
  context_->record("getLumetraUID");
  return context_->config().uid;
}

std::string LumetraLib::getSDKVersion() {
  context_->record("getSDKVersion");
  return context_->config().version;
}

std::weak_ptr<LumetraLibDelegate> LumetraLib::delegate() const {
  context_->record("delegate");
  std::lock_guard lock(delegates_->mutex);
  return delegates_->conversion;
}

void LumetraLib::setDelegate(std::weak_ptr<LumetraLibDelegate> delegate) {
  context_->record("setDelegate:", [&] { return JSONArray{toJournal(delegate)}; });
  std::lock_guard lock(delegates_->mutex);
  delegates_->conversion = std::move(delegate);
}

std::weak_ptr<LumetraDeepLinkDelegate> LumetraLib::deepLinkDelegate() const {
  context_->record("deepLinkDelegate");
  std::lock_guard lock(delegates_->mutex);
  return delegates_->deepLink;
}

void LumetraLib::setDeepLinkDelegate(std::weak_ptr<LumetraDeepLinkDelegate> delegate) {
  context_->record("setDeepLinkDelegate:", [&] { return JSONArray{toJournal(delegate)}; });
  std::lock_guard lock(delegates_->mutex);
  delegates_->deepLink = std::move(delegate);
}

void LumetraLib::set(std::string_view call, const std::string& name, AnyCodable value) {
  context_->record(call, [&] { return JSONArray{toJournal(value)}; });
  store(name, std::move(value));
}

void LumetraLib::store(const std::string& name, AnyCodable value) {
  std::lock_guard lock(propertiesMutex_);
  properties_.insert_or_assign(name, std::move(value));
}

AnyCodable LumetraLib::get(std::string_view getter) const {
  context_->record(getter);
  std::lock_guard lock(propertiesMutex_);
  auto found = properties_.find(getter);
  return found == properties_.end() ? AnyCodable() : found->second;
}

bool LumetraLib::flag(std::string_view getter) const {
  auto value = get(getter);
  const auto* flag = value.getIf<bool>();
  return flag && *flag;
}

std::string LumetraLib::text(std::string_view getter) const {
  auto value = get(getter);
  const auto* text = value.getIf<std::string>();
  return text ? *text : std::string();
}

StringList LumetraLib::list(std::string_view getter) const {
  StringList list;
  auto value = get(getter);
  if (const auto* array = value.getIf<JSONArray>()) {
    for (const auto& element : *array) {
      if (const auto* text = element.getIf<std::string>()) list.push_back(*text);
    }
  }
  return list;
}

std::uint64_t LumetraLib::count(std::string_view getter) const {
  auto value = get(getter);
  const auto* number = value.getIf<std::int64_t>();
  return number ? static_cast<std::uint64_t>(*number) : 0;
}

}  // namespace lumetra_rpc::simulator
