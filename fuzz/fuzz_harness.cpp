#include "fuzz/fuzz_harness.h"
#include "lumetra_rpc/asio.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>

#include "lumetra_rpc/client.h"
#include "support/adversarial_sdk.h"
#include "support/pump.h"

namespace lumetra_rpc::fuzzing {
namespace {

using testing::AdversarialSDK;
using testing::Answer;

// Short enough that an SDK which never answers costs a run about a millisecond; distinct
// so that every operation's timeout message is written with its own number. Late answers
// come after the longest of them.
constexpr TimeoutConfig kTimeouts{0.001, 0.0015, 0.002, 0.001, 0.0005};
constexpr auto kLate = std::chrono::milliseconds(3);

std::uint64_t fnv1a(std::string_view text) {
  std::uint64_t hash = 14695981039346656037ull;
  for (unsigned char byte : text) hash = (hash ^ byte) * 1099511628211ull;
  return hash;
}

// What successful answers carry: nothing, a key the response writer must drop, or values
// it has to refuse or convert.
AnyKeyMap dataFor(std::uint64_t draw) {
  switch (draw % 3) {
    case 0:
      return {};
    case 1:
      return {{"status", "ok"}, {7, "numeric key"}};
    default:
      return {
          {"nan", std::nan("")}, {"when", DateValue{1.5}}, {"session", OpaqueValue{"URLSession", nullptr}}};
  }
}

// Drives `execute` from a caller executor of its own, which run() leaves only once the
// request has been answered.
std::string respond(LMRPCClient& client, std::string_view text) {
  boost::asio::io_context caller;
  int responses = 0;
  std::string response;
  auto collect = [&](std::exception_ptr failure, std::string written) {
    if (failure) __builtin_trap();
    ++responses;
    response = std::move(written);
  };
  boost::asio::co_spawn(caller, execute(client, std::string(text)), collect);
  caller.run();
  if (responses != 1) __builtin_trap();
  return response;
}

// Once answered, nothing may keep the client: a cycle or a forgotten task would hold it.
void awaitRelease(const std::weak_ptr<LMRPCClient>& client) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!client.expired()) {
    if (std::chrono::steady_clock::now() > deadline) __builtin_trap();
    std::this_thread::yield();
  }
}

}  // namespace

void checkOneRequest(std::string_view text) {
  auto draw = fnv1a(text);
  // Every operation answers the same way within one input, so that a finding replays.
  auto answer = static_cast<Answer>((draw >> 8) % 6);
  auto sdk =
      std::make_shared<AdversarialSDK>([answer](std::string_view) { return answer; }, dataFor(draw), kLate);
  auto client = LMRPCClient::create([](std::string) {}, kTimeouts, sdk);
  std::weak_ptr<LMRPCClient> weakClient = client;
  if (!testing::responseMembers(respond(*client, text))) __builtin_trap();
  client.reset();
  awaitRelease(weakClient);
  // Late answers arrive after the race is over and must be dropped quietly; releasing the
  // SDK waits for them.
  sdk.reset();
}

}  // namespace lumetra_rpc::fuzzing
