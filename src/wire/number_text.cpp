#include "wire/number_text.h"

#include <charconv>
#include <string_view>

namespace lumetra_rpc {

std::string formatNumberForMessage(double value) {
  char buffer[32];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  std::string text(buffer, end);
  // Integral values print as "200"; messages show them as "200.0". Exponent forms,
  // infinities and NaN are left as they are.
  if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
  return text;
}

}  // namespace lumetra_rpc
