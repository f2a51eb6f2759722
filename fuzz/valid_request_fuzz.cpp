// Valid requests of every method, mutated; seeds and dictionary come from make_seeds.py.
// Besides libFuzzer's own mutations, one in four moves a request to another method with
// its parameters unchanged, so that each method's validation meets every other method's
// parameters. Replay: ./valid_request_fuzz FILE...

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_harness.h"
#include "parsing/method_table.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

// Sorted, so that a seed picks the same name in every run.
const std::vector<std::string_view>& methodNames() {
  static const auto names = [] {
    std::vector<std::string_view> all;
    for (const auto& entry : lumetra_rpc::methodParsers()) all.push_back(entry.first);
    std::sort(all.begin(), all.end());
    return all;
  }();
  return names;
}

// Returns the new size, or 0 when the text names no method or the result would not fit.
std::size_t renameMethod(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned pick) {
  std::string text(reinterpret_cast<const char*>(data), size);
  constexpr std::string_view kKey = "\"method\":\"";
  auto start = text.find(kKey);
  if (start == std::string::npos) return 0;
  start += kKey.size();
  auto end = text.find('"', start);
  if (end == std::string::npos) return 0;
  text.replace(start, end - start, methodNames()[pick % methodNames().size()]);
  if (text.size() > maxSize) return 0;
  std::memcpy(data, text.data(), text.size());
  return text.size();
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  if (seed % 4 == 0) {
    if (auto renamed = renameMethod(data, size, maxSize, seed / 4)) return renamed;
  }
  return LLVMFuzzerMutate(data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  lumetra_rpc::fuzzing::checkOneRequest({reinterpret_cast<const char*>(data), size});
  return 0;
}
