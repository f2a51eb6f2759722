// Many requests of every method, valid and refused, sent at once from several threads
// through a facade whose SDK answers at random: never, once, twice, late, with an error or
// from a thread of its own. Every request gets exactly one well-formed completion on the
// main executor; once drained, releasing the facade releases everything and gives the
// memory back.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <mutex>
#include <semaphore>
#include <set>
#include <string_view>
#include <thread>
#include <vector>

#include "lumetra_rpc/bridge.h"
#include "lumetra_rpc/runtime.h"
#include "pipeline/client_internals.h"
#include "pipeline/request_handler.h"
#include "runtime/runtime_core.h"
#include "support/adversarial_sdk.h"
#include "support/parsing_cases.h"
#include "support/pump.h"
#include "wire/json_reader.h"

namespace lumetra_rpc {
namespace {

using namespace std::chrono_literals;

constexpr bool kSanitized = std::string_view(LMRPC_SANITIZE) != "none";
constexpr std::size_t kRequests = kSanitized ? 10'000 : 100'000;
constexpr int kSenders = 4;
constexpr std::ptrdiff_t kMaxInFlight = 1'000;
constexpr TimeoutConfig kTimeouts{0.02, 0.03, 0.05, 0.04, 0.025};
constexpr auto kLate = 80ms;  // beyond every timeout above

// A request text without its id: `{"id":N,` + body is the request. Decodable bodies must be
// answered with their id, the others with a null one.
struct Body {
  std::string text;
  bool decodable;
};

struct Mix {
  std::vector<Body> all;         // every parsing case, plus each valid one cut in half
  std::vector<Body> supervised;  // valid requests that reach a raced SDK operation
};

// Cases written with an id of their own are left out: each request here gets its own.
Mix loadMix() {
  const std::set<std::string> raced{"start",
                                    "logEvent",
                                    "validateAndLogInAppPurchaseLegacy",
                                    "validateAndLogInAppPurchaseV2",
                                    "logAndOpenStore",
                                    "generateInviteUrl"};
  Mix mix;
  auto add = [&mix](std::vector<Body>& to, std::string body) {
    bool decodable = readRequest(R"({"id":0,)" + body).hasValue();
    to.push_back({std::move(body), decodable});
  };
  for (const auto& c : testing::loadParsingCases()) {
    const std::string& text = c.requestText;
    if (text.empty() || text[0] != '{' || text.find("\"id\"") != std::string::npos) continue;
    std::string body = text.substr(1);
    add(mix.all, body);
    if (c.error) continue;
    add(mix.all, body.substr(0, body.size() / 2));
    if (raced.count(c.request.method)) add(mix.supervised, body);
  }
  return mix;
}

// Everything the completions record; they all run on the main executor, the lock is only
// for a completion that would not.
struct Tally {
  std::vector<std::atomic<int>> completions;
  std::atomic<std::size_t> done{0};
  std::atomic<std::size_t> offMain{0};
  std::mutex mutex;
  std::vector<std::string> problems;
  std::counting_semaphore<> slots{kMaxInFlight};

  explicit Tally(std::size_t n) : completions(n) {}
  void problem(std::string text) {
    std::lock_guard lock(mutex);
    if (problems.size() < 10) problems.push_back(std::move(text));
  }
};

// What is wrong with the response to request `id`, or nothing.
std::string checkResponse(const std::string& response, std::size_t id, bool decodable) {
  auto members = testing::responseMembers(response);
  if (!members) return "malformed";
  const auto* echoed = members->at("id").getIf<std::int64_t>();
  bool idOk = decodable ? echoed && *echoed == static_cast<std::int64_t>(id) : members->at("id").isNull();
  return idOk ? "" : "wrong id";
}

// Half the requests are drawn from every case, half from those that reach the SDK double.
void send(LumetraRPCBridge& bridge, const Mix& mix, std::shared_ptr<Tally> tally, int sender,
          std::stop_token stop) {
  for (std::size_t id = sender; id < kRequests; id += kSenders) {
    std::uint64_t draw = (id * 0x9E3779B97F4A7C15ull) >> 33;
    const auto& pool = (id % 2) ? mix.supervised : mix.all;
    const Body& body = pool[draw % pool.size()];
    while (!tally->slots.try_acquire_for(10ms))
      if (stop.stop_requested()) return;  // the test has failed already; don't hang it
    auto completion = [tally, id, decodable = body.decodable](std::string response) {
      if (!Runtime::isOnMain()) ++tally->offMain;
      if (++tally->completions[id] > 1) tally->problem("second completion for " + std::to_string(id));
      auto problem = checkResponse(response, id, decodable);
      if (!problem.empty()) tally->problem(problem + ": " + response);
      ++tally->done;
      tally->slots.release();
    };
    bridge.executeJson(R"({"id":)" + std::to_string(id) + "," + body.text, std::move(completion));
  }
}

std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(Stress, EveryRequestGetsOneWellFormedCompletionAndEverythingIsReleased) {
  auto mix = loadMix();
  ASSERT_GT(mix.all.size(), 200u);
  ASSERT_GE(mix.supervised.size(), 6u);
  runningCore();  // pool threads exist before the baseline is taken
  malloc_trim(0);
  const std::size_t residentBefore = residentBytes();

  auto tally = std::make_shared<Tally>(kRequests);
  // Every supervised operation answers by a draw, spread evenly over the six kinds.
  auto draws = std::make_shared<std::atomic<std::uint64_t>>(0);
  auto sdk = std::make_shared<testing::AdversarialSDK>(
      [draws](std::string_view) {
        return static_cast<testing::Answer>((((*draws)++ * 0x9E3779B97F4A7C15ull) >> 32) % 6);
      },
      AnyKeyMap{{"status", "ok"}, {1, "numeric key"}}, kLate);
  auto client = LMRPCClient::create([](std::string) {}, kTimeouts, sdk);
  auto bridge = LumetraRPCBridge::create(client);
  std::weak_ptr<LMRPCClient> weakClient = client;
  std::weak_ptr<LMRPCRequestHandler> weakHandler = ClientInternals::handler(*client);
  std::weak_ptr<LMRPCHandlerStateActor> weakState = ClientInternals::handler(*client)->stateActor();
  std::weak_ptr<testing::AdversarialSDK> weakSDK = sdk;
  client.reset();

  std::vector<std::jthread> senders;
  for (int s = 0; s < kSenders; ++s)
    senders.emplace_back([&, s](std::stop_token stop) { send(*bridge, mix, tally, s, stop); });
  ASSERT_TRUE(testing::pumpUntil([&] { return tally->done == kRequests; }, 120s))
      << tally->done << " answered";
  senders.clear();
  ASSERT_TRUE(testing::pumpUntil([&] { return sdk->pending() == 0; }));
  testing::pumpFor(20ms);  // room for anything that would still complete twice

  bridge.reset();
  sdk.reset();
  EXPECT_TRUE(testing::pumpUntil([&] {
    return weakClient.expired() && weakHandler.expired() && weakState.expired() && weakSDK.expired();
  }));
  for (std::size_t id = 0; id < kRequests; ++id)
    ASSERT_EQ(tally->completions[id].load(), 1) << "request " << id;
  EXPECT_EQ(tally->offMain.load(), 0u);
  EXPECT_TRUE(tally->problems.empty()) << tally->problems.front();

  // Sanitizers keep freed memory in quarantine, so the memory check runs only without
  // them. malloc_trim hands freed heap pages back to the system, so that what stays
  // resident is what is still allocated plus fragmentation in the pool threads' arenas
  // (about 6 MiB here, the tally included). 16 MiB over 100,000 requests allows 168 bytes
  // a request: a coroutine frame, strand or response text leaked per request exceeds it.
  if (kSanitized) return;
  malloc_trim(0);
  const std::size_t residentAfter = residentBytes();
  EXPECT_LT(residentAfter, residentBefore + (16u << 20)) << residentBefore << " -> " << residentAfter;
}

}  // namespace
}  // namespace lumetra_rpc
