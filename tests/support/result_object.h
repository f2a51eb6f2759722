#pragma once
// The result object a response carries for an outcome, read back from its text.

#include "supervision/outcome.h"
#include "wire/json_reader.h"

namespace lumetra_rpc::testing {

inline JSONObject resultObject(const SDKOutcome& outcome) {
  std::string text;
  if (!writeResult(outcome, text)) return JSONObject{{"unwritable", true}};
  auto value = readJSON(text);
  const auto* object = value ? value->getIf<JSONObject>() : nullptr;
  return object ? *object : JSONObject{{"unreadable", true}};
}

}  // namespace lumetra_rpc::testing
