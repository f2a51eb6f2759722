#include "support/pump.h"

#include <atomic>
#include <fstream>
#include <mutex>
#include <sstream>

#include <boost/asio/co_spawn.hpp>

#include "wire/json_reader.h"

namespace lumetra_rpc::testing {

bool pumpUntil(const std::function<bool()>& done, std::chrono::milliseconds ceiling) {
  auto deadline = std::chrono::steady_clock::now() + ceiling;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    Runtime::runMainFor(std::chrono::milliseconds(1));
  }
  Runtime::runMainUntilIdle();
  return true;
}

void pumpFor(std::chrono::milliseconds duration) {
  auto deadline = std::chrono::steady_clock::now() + duration;
  while (std::chrono::steady_clock::now() < deadline) Runtime::runMainFor(std::chrono::milliseconds(1));
}

std::string execute(LMRPCClient& client, std::string request) {
  auto state = std::make_shared<std::pair<std::mutex, std::optional<std::string>>>();
  client.executeWithJsonRequest(std::move(request), [state](std::string text) {
    std::lock_guard lock(state->first);
    state->second = std::move(text);
  });
  bool answered = pumpUntil([&] {
    std::lock_guard lock(state->first);
    return state->second.has_value();
  });
  if (!answered) return "<no response>";
  std::lock_guard lock(state->first);
  return *state->second;
}

std::optional<JSONObject> responseMembers(const std::string& response) {
  auto value = readJSON(response);
  const auto* members = value ? value->getIf<JSONObject>() : nullptr;
  if (members == nullptr || members->size() != 3 || !members->contains("error") || !members->contains("id") ||
      !members->contains("result") || members->at("error").isNull() == members->at("result").isNull())
    return std::nullopt;
  return *members;
}

std::string readTextFile(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace lumetra_rpc::testing
