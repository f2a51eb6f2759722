#pragma once
// Checks on raw JSON text that the on-demand reader leaves to its caller: the grammar of
// a number token, and whether text follows a complete top-level object or array.

#include <string_view>

namespace lumetra_rpc {

enum class NumberText { invalid, integer, fraction };

// Classifies a number token as JSON spells numbers: an optional minus, no leading zeros,
// an optional fraction and exponent. "integer" means neither fraction nor exponent.
// Whitespace after the token is allowed; anything else makes it invalid.
NumberText classifyNumber(std::string_view token);

// True when `text` opens with an object or array that closes before the text ends and is
// followed by more than whitespace, unless the text ends in the bracket that closes the
// first one. Only the other cases are what simdjson calls an unfinished document; the
// excepted one it reports as trailing content itself. Strings are skipped, so brackets
// inside them do not count. Only texts that do not end in that bracket cost a walk.
bool hasTextAfterTopLevel(std::string_view text);

}  // namespace lumetra_rpc
