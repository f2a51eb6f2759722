#include "wire/json_text.h"

namespace lumetra_rpc {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Advances `at` past one or more digits; false when there is none.
bool digits(std::string_view text, std::size_t& at) {
  const std::size_t start = at;
  while (at < text.size() && isDigit(text[at])) ++at;
  return at > start;
}

bool onlySpaceFrom(std::string_view text, std::size_t at) {
  for (; at < text.size(); ++at)
    if (!isSpace(text[at])) return false;
  return true;
}

// The offset just past the string that opens at `at`, or npos when it never closes.
std::size_t skipString(std::string_view text, std::size_t at) {
  for (++at; at < text.size(); ++at) {
    if (text[at] == '\\')
      ++at;
    else if (text[at] == '"')
      return at + 1;
  }
  return std::string_view::npos;
}

}  // namespace

NumberText classifyNumber(std::string_view token) {
  std::size_t at = 0;
  if (at < token.size() && token[at] == '-') ++at;
  if (at < token.size() && token[at] == '0') {
    ++at;
  } else if (!digits(token, at)) {
    return NumberText::invalid;
  }
  auto kind = NumberText::integer;
  if (at < token.size() && token[at] == '.') {
    ++at;
    if (!digits(token, at)) return NumberText::invalid;
    kind = NumberText::fraction;
  }
  if (at < token.size() && (token[at] == 'e' || token[at] == 'E')) {
    ++at;
    if (at < token.size() && (token[at] == '+' || token[at] == '-')) ++at;
    if (!digits(token, at)) return NumberText::invalid;
    kind = NumberText::fraction;
  }
  return onlySpaceFrom(token, at) ? kind : NumberText::invalid;
}

bool hasTextAfterTopLevel(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && isSpace(text[at])) ++at;
  if (at == text.size() || (text[at] != '{' && text[at] != '[')) return false;
  // Only a text that does not end in a bracket needs the walk (see the header).
  std::size_t last = text.size();
  while (last > at && isSpace(text[last - 1])) --last;
  if (text[last - 1] == (text[at] == '{' ? '}' : ']')) return false;
  std::size_t depth = 0;
  while (at < text.size()) {
    const char c = text[at];
    if (c == '"') {
      at = skipString(text, at);
      if (at == std::string_view::npos) return false;
      continue;
    }
    if (c == '{' || c == '[') ++depth;
    if ((c == '}' || c == ']') && --depth == 0) return !onlySpaceFrom(text, at + 1);
    ++at;
  }
  return false;
}

}  // namespace lumetra_rpc
