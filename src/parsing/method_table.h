#pragma once
// The 55 wire method names and their parse functions. Lookup is exact and case-sensitive.

#include <functional>
#include <string_view>
#include <unordered_map>

#include "parsing/parsed_request.h"
#include "wire/client_error.h"
#include "wire/records.h"

namespace lumetra_rpc {

using ParseFunction = ClientResult<LMRPCParsedRequest> (*)(const JSONObject& params);
using MethodTable = std::unordered_map<std::string_view, ParseFunction>;

// Built once on first use; immutable afterwards.
const MethodTable& methodParsers();

// Unknown method: unknownMethod before any parameter is looked at. Otherwise the parse
// function's result, unchanged.
ClientResult<LMRPCParsedRequest> parseRequest(const LMRPCRequest& request);

}  // namespace lumetra_rpc
