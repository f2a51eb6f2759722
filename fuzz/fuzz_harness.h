#pragma once
// What every fuzz target checks for one request text: it runs through a fresh client over
// a scripted SDK, and exactly one response text comes back that is a JSON object with
// exactly "error", "id" and "result", exactly one of "error" and "result" non-null. Any
// deviation traps, so libFuzzer records the input.

#include <string_view>

namespace lumetra_rpc::fuzzing {

// How the SDK answers is drawn from the text itself, so that a saved input replays the
// same way.
void checkOneRequest(std::string_view text);

}  // namespace lumetra_rpc::fuzzing
