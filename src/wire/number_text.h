#pragma once

#include <string>

namespace lumetra_rpc {

// A double as messages show it: the shortest digits that read back to the same value,
// with ".0" after an integral value (200 -> "200.0", -180.5 -> "-180.5"). Magnitudes from
// 1e-4 up to 2^53 are written in plain decimal (100000 -> "100000.0", 0.0001 ->
// "0.0001"); smaller and larger ones in exponent form ("1e-05", "1e+16").
std::string formatNumberForMessage(double value);

}  // namespace lumetra_rpc
