#pragma once
// What a client may send to each method, as JSON Schema: one row per method, its parameters
// in the order the parse function reads them. The schemas state the contract a host should
// keep to; what the parsers tolerate beyond it (numbers as booleans, any letter case for
// plugin names) is said in the descriptions. An optional value of another kind is read as
// absent unless its description says it is refused.

#include <string>
#include <vector>

#include "wire/any_codable.h"

namespace lumetra_rpc::cli {

struct ParamDescription {
  std::string name;
  bool required = false;
  bool refusable = false;  // a value may be refused with 422; always so when required
  AnyCodable schema;       // carries "default" where absence means a fixed value
  std::string description;
};

struct MethodDescription {
  std::string name;
  std::string summary;
  std::vector<ParamDescription> params;
};

// Built once on first use; in no particular order (the document sorts by name).
const std::vector<MethodDescription>& methodDescriptions();

}  // namespace lumetra_rpc::cli
