#pragma once
// Read-only tables shared by the parsers and the handlers. Each is built once on first use
// (thread-safe) and then read without locks.

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace lumetra_rpc {

using NameTable = std::map<std::string, std::int64_t, std::less<>>;

const NameTable& pluginTypes();                                 // "unity" -> 1, ...
const NameTable& purchaseTypes();                               // "subscription" -> 0, "oneTimePurchase" -> 1
const NameTable& mediationNetworks();                           // normalised name -> MediationNetworkType
const NameTable& emailCryptTypes();                             // "none" -> 0, "sha256" -> 3
const std::set<std::string, std::less<>>& blockedURLSchemes();  // lower case

// The keys of a table sorted by plain string comparison and joined with ", ", as the
// "Valid options: " messages list them.
std::string validOptions(const NameTable& table);

}  // namespace lumetra_rpc
