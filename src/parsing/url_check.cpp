#include "parsing/url_check.h"

#include <boost/url/parse.hpp>

#include "parsing/lookup_tables.h"
#include "parsing/param_getters.h"

namespace lumetra_rpc {

std::optional<SchemedURL> parseSchemedURL(std::string_view text) {
  auto parsed = boost::urls::parse_uri_reference(text);
  if (!parsed || !parsed->has_scheme() || parsed->scheme().empty()) return std::nullopt;
  // The URL keeps the text exactly as the host gave it; nothing is normalised.
  return SchemedURL{URLValue{std::string(text)}, std::string(parsed->scheme())};
}

bool isBlockedScheme(std::string_view scheme) {
  return blockedURLSchemes().contains(lowercased(scheme));
}

}  // namespace lumetra_rpc
