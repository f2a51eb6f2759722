#include "pipeline/json_safe_copy.h"

namespace lumetra_rpc {

JSONObject jsonSafeObject(const AnyKeyMap& map) {
  JSONObject object;
  for (const auto& [key, value] : map) {
    if (const auto* name = key.getIf<std::string>()) object.insert_or_assign(*name, jsonSafeCopy(value));
  }
  return object;
}

AnyCodable jsonSafeCopy(const AnyCodable& value) {
  if (const auto* map = value.getIf<AnyKeyMap>()) return jsonSafeObject(*map);
  if (const auto* object = value.getIf<JSONObject>()) {
    JSONObject copy;
    for (const auto& [name, member] : *object) copy.emplace(name, jsonSafeCopy(member));
    return copy;
  }
  if (const auto* array = value.getIf<JSONArray>()) {
    JSONArray copy;
    copy.reserve(array->size());
    for (const auto& element : *array) copy.push_back(jsonSafeCopy(element));
    return copy;
  }
  return value;
}

}  // namespace lumetra_rpc
