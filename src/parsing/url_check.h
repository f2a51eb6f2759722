#pragma once
// URL parsing shared by the URL parameter getter and the deep-link handler's plain-text
// check: RFC 3986 reference syntax; text that does not parse, or parses without a
// non-empty scheme, is refused; the scheme is reported exactly as written.

#include <optional>
#include <string>
#include <string_view>

#include "wire/any_codable.h"

namespace lumetra_rpc {

struct SchemedURL {
  URLValue url;
  std::string scheme;  // as written in the input
};

std::optional<SchemedURL> parseSchemedURL(std::string_view text);

// Compares case-insensitively against blockedURLSchemes().
bool isBlockedScheme(std::string_view scheme);

}  // namespace lumetra_rpc
