#pragma once
// The OpenRPC document of the dialect, generated from the method descriptions and printed
// by `lumetra-rpc --openrpc`. docs/openrpc.json is its pretty-printed copy.

#include <string>

#include "wire/any_codable.h"
#include "wire/expected.h"

namespace lumetra_rpc::cli {

// Fails, naming them, when a method of the method table has no description or a
// description names no method of the table: the document must never leave one out.
Expected<AnyCodable, std::string> openRPCDocument();

// The document as the project's writer prints it (compact, members sorted).
Expected<std::string, std::string> openRPCText();

}  // namespace lumetra_rpc::cli
