#include "wire/number_text.h"

#include <charconv>
#include <cmath>

namespace lumetra_rpc {
namespace {

// Plain digits from 1e-4 up to 2^53, where every whole number is still exact; exponent
// form outside, where plain digits would run to dozens of zeros.
constexpr double kSmallestPlain = 1e-4;
constexpr double kFirstExponent = 9007199254740992.0;

bool readsBestPlain(double value) {
  const double magnitude = std::fabs(value);
  return magnitude == 0 || (magnitude >= kSmallestPlain && magnitude < kFirstExponent);
}

}  // namespace

std::string formatNumberForMessage(double value) {
  char buffer[32];
  // Without a precision, to_chars gives the shortest digits that read back to `value`
  // in the chosen notation.
  const auto format = readsBestPlain(value) ? std::chars_format::fixed : std::chars_format::scientific;
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, format);
  std::string text(buffer, end);
  // Integral values print as "200"; messages show them as "200.0". Exponent forms,
  // infinities and NaN are left as they are.
  if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
  return text;
}

}  // namespace lumetra_rpc
