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
#include "support/fake_sdk.h"
#include "wire/json_reader.h"

namespace lumetra_rpc::fuzzing {
namespace {

using testing::FakeSDK;
using testing::Reply;
using testing::ScriptedAnswer;

// Short enough that an SDK which never answers costs a run about a millisecond; distinct
// so that every operation's timeout message is written with its own number.
constexpr TimeoutConfig kTimeouts{0.001, 0.0015, 0.002, 0.001, 0.0005};

constexpr const char* kAnsweringOperations[] = {"start",
                                                "logEventWithCompletion",
                                                "validateAndLogInAppPurchase",
                                                "validateAndLogInAppPurchaseV2",
                                                "logAndOpenStore",
                                                "generateInviteUrl"};

std::uint64_t fnv1a(std::string_view text) {
  std::uint64_t hash = 14695981039346656037ull;
  for (unsigned char byte : text) hash = (hash ^ byte) * 1099511628211ull;
  return hash;
}

ScriptedAnswer answerFor(std::uint64_t draw) {
  switch (draw % 8) {
    case 0:
      return ScriptedAnswer(Reply::kAtOnce);
    case 1:
      return ScriptedAnswer(Reply::kAtOnce, AnyKeyMap{{"status", "ok"}, {7, "numeric key"}});
    case 2:  // values the response writer has to refuse or convert
      return ScriptedAnswer(Reply::kAtOnce, AnyKeyMap{{"nan", std::nan("")},
                                                      {"when", DateValue{1.5}},
                                                      {"session", OpaqueValue{"URLSession", nullptr}}});
    case 3:
      return ScriptedAnswer(Reply::kAtOnce, std::nullopt, SDKError{"LM", 42, "refused"}, std::nullopt);
    case 4:
      return ScriptedAnswer(Reply::kNever);
    case 5:
      return ScriptedAnswer(Reply::kTwice);
    case 6:
      return ScriptedAnswer(Reply::kLate);
    default:
      return ScriptedAnswer(Reply::kFromOtherThread);
  }
}

void script(FakeSDK& sdk, std::uint64_t draw) {
  for (const char* operation : kAnsweringOperations) sdk.script(operation, answerFor(draw));
  sdk.scriptPurchaseDetailsYieldNone((draw >> 8) & 1);
  sdk.scriptContinueUserActivity((draw >> 9) & 1);
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

bool wellFormed(const std::string& response) {
  auto value = readJSON(response);
  if (!value) return false;
  const auto* members = value->getIf<JSONObject>();
  if (members == nullptr || members->size() != 3) return false;
  for (const char* name : {"error", "id", "result"})
    if (!members->contains(name)) return false;
  return members->at("error").isNull() != members->at("result").isNull();
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
  auto sdk = std::make_shared<FakeSDK>();
  script(*sdk, draw);
  auto client = LMRPCClient::create([](std::string) {}, kTimeouts, sdk);
  std::weak_ptr<LMRPCClient> weakClient = client;
  if (!wellFormed(respond(*client, text))) __builtin_trap();
  client.reset();
  awaitRelease(weakClient);
  // Late answers arrive after the race is over and must be dropped quietly.
  for (const char* operation : kAnsweringOperations) sdk->fireHeld(operation);
}

}  // namespace lumetra_rpc::fuzzing
