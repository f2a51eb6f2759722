// Arbitrary bytes as one request text. Replay: ./execute_fuzz FILE...

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/fuzz_harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  lumetra_rpc::fuzzing::checkOneRequest({reinterpret_cast<const char*>(data), size});
  return 0;
}
