#pragma once
// The record of every call made into the simulated SDK: one compact JSON line per call,
// {"args": [...], "call": "<SDK call name>"} plus "class" for class-level calls, in the
// order the calls arrive. Lines are appended and flushed one by one, so a journal read
// after a crash still shows everything up to it. Any thread may record.
//
// The `toJournal` overloads give each SDK argument kind its journal form: a URL is its
// absolute text, bytes are lower-case hex, SDK objects are objects of their fields,
// a class handle is the class name, a delegate is its type name; absent is null.

#include <cxxabi.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>

#include "parsing/requests.h"
#include "sdk/sdk_types.h"
#include "wire/expected.h"

namespace lumetra_rpc::simulator {

class CallJournal {
 public:
  static Expected<std::unique_ptr<CallJournal>, std::string> open(const std::string& path);

  void record(std::string_view call, JSONArray args,
              std::optional<std::string_view> className = std::nullopt);

  explicit CallJournal(std::ofstream file) : file_(std::move(file)) {}

 private:
  std::mutex mutex_;
  std::ofstream file_;
};

AnyCodable toJournal(const AnyCodable& value);
AnyCodable toJournal(const AnyKeyMap& dictionary);
AnyCodable toJournal(const std::optional<AnyKeyMap>& dictionary);
AnyCodable toJournal(const std::optional<std::string>& text);
AnyCodable toJournal(const StringList& list);
AnyCodable toJournal(const std::optional<StringList>& list);
AnyCodable toJournal(const StringDictionary& dictionary);
AnyCodable toJournal(const URLValue& url);
AnyCodable toJournal(const std::optional<URLValue>& url);
AnyCodable toJournal(const Bytes& bytes);
AnyCodable toJournal(const LumetraConsent& consent);
AnyCodable toJournal(const std::shared_ptr<const LMSDKPurchaseDetails>& details);
AnyCodable toJournal(const LMAdRevenueData& revenue);
AnyCodable toJournal(const LMUserActivity& activity);
AnyCodable toJournal(const std::optional<ClassHandle>& handle);

// The unqualified name of a dynamic type ("LMRPCRequestHandler").
std::string typeName(const std::type_info& type);

template <typename Delegate>
AnyCodable toJournal(const std::weak_ptr<Delegate>& delegate) {
  auto strong = delegate.lock();
  if (!strong) return AnyCodable();
  return AnyCodable(typeName(typeid(*strong)));
}

}  // namespace lumetra_rpc::simulator
