#include "parsing/lookup_tables.h"

#include <iterator>
#include <utility>

#include "runtime/immortal.h"

namespace lumetra_rpc {

namespace {

using Row = std::pair<std::string_view, std::int64_t>;

// The rows are constant data; the maps are built from them once on first use, safely
// under concurrent first use, never changed afterwards, and never destroyed: requests
// may still be parsed while the process exits.
constexpr Row kPluginTypes[] = {
    {"ios_native", 0}, {"unity", 1},         {"flutter", 2},  {"react_native", 3},
    {"adobe_air", 4},  {"adobe_mobile", 5},  {"cocos2dx", 6}, {"cordova", 7},
    {"mparticle", 8},  {"native_script", 9}, {"expo", 10},    {"unreal", 11},
    {"xamarin", 12},   {"capacitor", 13},    {"segment", 14}, {"adobe_swift_aep", 15},
};
constexpr Row kPurchaseTypes[] = {{"subscription", 0}, {"oneTimePurchase", 1}};
constexpr Row kMediationNetworks[] = {
    {"googleadmob", 1}, {"ironsource", 2},
    {"applovinmax", 3}, {"fyber", 4},
    {"appodeal", 5},    {"admost", 6},
    {"topon", 7},       {"tradplus", 8},
    {"yandex", 9},      {"chartboost", 10},
    {"unity", 11},      {"toponpte", 12},
    {"custom", 13},     {"directmonetization", 14},
};
constexpr Row kEmailCryptTypes[] = {{"none", 0}, {"sha256", 3}};
constexpr std::string_view kBlockedURLSchemes[] = {"javascript", "data", "vbscript", "blob"};

template <std::size_t N>
NameTable tableOf(const Row (&rows)[N]) {
  return NameTable(std::begin(rows), std::end(rows));
}

}  // namespace

const NameTable& pluginTypes() {
  static Immortal<NameTable> table(tableOf(kPluginTypes));
  return table.get();
}

const NameTable& purchaseTypes() {
  static Immortal<NameTable> table(tableOf(kPurchaseTypes));
  return table.get();
}

const NameTable& mediationNetworks() {
  static Immortal<NameTable> table(tableOf(kMediationNetworks));
  return table.get();
}

const NameTable& emailCryptTypes() {
  static Immortal<NameTable> table(tableOf(kEmailCryptTypes));
  return table.get();
}

const std::set<std::string, std::less<>>& blockedURLSchemes() {
  static Immortal<std::set<std::string, std::less<>>> schemes(
      std::set<std::string, std::less<>>(std::begin(kBlockedURLSchemes), std::end(kBlockedURLSchemes)));
  return schemes.get();
}

std::string validOptions(const NameTable& table) {
  // The map is ordered by plain string comparison already.
  std::string joined;
  for (const auto& [name, value] : table) {
    if (!joined.empty()) joined += ", ";
    joined += name;
  }
  return joined;
}

}  // namespace lumetra_rpc
