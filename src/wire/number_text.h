#pragma once

#include <string>

namespace lumetra_rpc {

// A double as messages show it: the shortest digits that read back to the same value,
// with ".0" after an integral value (200 -> "200.0", -180.5 -> "-180.5").
std::string formatNumberForMessage(double value);

}  // namespace lumetra_rpc
