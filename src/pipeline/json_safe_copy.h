#pragma once

#include "wire/any_codable.h"

namespace lumetra_rpc {

// A copy of an SDK value that the writer can always take: maps keep only their
// string-keyed entries, at every depth; arrays are copied element by element.
AnyCodable jsonSafeCopy(const AnyCodable& value);

// An SDK map as a string-keyed object, made JSON-safe at every depth.
JSONObject jsonSafeObject(const AnyKeyMap& map);

}  // namespace lumetra_rpc
