// What the parse functions are built from, at the edges a request text cannot reach or
// where a table of requests would hide the reason. What a parse stores is pinned by the
// command-line session parsed_values, through the SDK calls it leads to.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "parsing/param_getters.h"

namespace lumetra_rpc {
namespace {

// Values a JSON text cannot carry, but a host building parameters in code can.
TEST(ParamGetters, NonFiniteNumbersAreNotIntegers) {
  for (double bad : {std::numeric_limits<double>::infinity(), std::nan("")}) {
    auto result = requiredNonNegativeInt(JSONObject{{"n", bad}}, "n");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().toRPCError().message, "n must be a valid non-negative integer");
  }
}

// Hex tokens that count characters, not bytes, and blocked schemes in any case are rows
// of parsing_cases.json; a scheme's case reaching the SDK unchanged, the session
// parsed_values.

}  // namespace
}  // namespace lumetra_rpc
