#include "requests.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::bench {
namespace {

// Members of the shapes events carry: short strings, counts, prices, flags.
std::string eventValuesMember(std::size_t index) {
  auto key = "\"value_" + std::to_string(index) + "\":";
  switch (index % 4) {
    case 0:
      return key + "\"sku-" + std::to_string(index * 7919) + "-blue-large\"";
    case 1:
      return key + std::to_string(index * 31);
    case 2:
      return key + std::to_string(index) + ".99";
    default:
      return key + (index % 8 == 3 ? "true" : "false");
  }
}

}  // namespace

std::string setterRequest() {
  return R"({"id":"req-7f3a9c21-0b44-4e8e-9d51","jsonrpc":"2.0","method":"setCustomerUserId",)"
         R"("params":{"customerUserId":"customer-8f14e45fceea167a5a36dedd4bea2543"}})";
}

std::string logEventRequest(std::size_t targetBytes) {
  const std::string head =
      R"({"id":42,"jsonrpc":"2.0","method":"logEvent","params":{"eventName":"purchase_completed","eventValues":{)";
  const std::string tail = "}}}";
  std::string text = head;
  for (std::size_t i = 0;; ++i) {
    std::string member = i == 0 ? "" : ",";
    member += eventValuesMember(i);
    if (text.size() + member.size() + tail.size() >= targetBytes) break;
    text += member;
  }
  return text + tail;
}

std::string paddedRequest(std::size_t bytes) {
  auto text = setterRequest();
  text.resize(bytes, ' ');
  return text;
}

std::vector<std::string> mixedRequests() {
  std::ifstream file(LMRPC_BENCH_CASES);
  std::stringstream content;
  content << file.rdbuf();
  auto cases = readJSON(content.str());
  const auto* list = cases ? cases->getIf<JSONArray>() : nullptr;
  if (!list) throw std::runtime_error("cannot read the request mix from " LMRPC_BENCH_CASES);

  std::vector<std::string> texts;
  std::int64_t id = 0;
  for (const auto& entry : *list) {
    const auto* fields = entry.getIf<JSONObject>();
    if (!fields) continue;
    auto request = fields->find("request");
    if (request == fields->end()) continue;
    if (const auto* raw = request->second.getIf<std::string>()) {
      texts.push_back(*raw);
      continue;
    }
    auto object = request->second;
    if (auto* members = object.getIf<JSONObject>()) members->insert_or_assign("id", AnyCodable(++id));
    if (auto text = writeJSON(object)) texts.push_back(std::move(text).value());
  }
  return texts;
}

}  // namespace lumetra_rpc::bench
