#pragma once
// How the simulated SDK behaves: what its getters return, the platform it pretends to run
// on, and how each asynchronous operation and delegate report answers. A config is read
// from a JSON text; every key is optional and an absent key keeps the plausible default.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sdk/sdk_types.h"
#include "wire/expected.h"

namespace lumetra_rpc::simulator {

// When and how often an answer is given. Without a delay the answer comes at once, on
// the caller's thread; with one it comes from the simulator's own thread.
struct ReplyTiming {
  std::optional<std::uint32_t> delayMs;
  std::uint32_t times = 1;
};

// An answer of dictionary-and-error shape: start, event logging, both purchases, and the
// two conversion-delegate reports.
struct CompletionReply {
  enum class Kind { data, error, never };
  Kind kind = Kind::data;
  AnyKeyMap data;
  SDKError error;
  ReplyTiming timing;
};

// An answer that hands over a URL: store opening and invite links. Without an explicit
// URL the simulator makes a plausible one from the call's arguments.
struct URLReply {
  enum class Kind { url, noURL, never };
  Kind kind = Kind::url;
  std::optional<std::string> url;
  ReplyTiming timing;
};

struct DeepLinkReport {
  LumetraDeepLinkResult result;
  ReplyTiming timing;
};

struct SimulatorConfig {
  std::string uid = "1712345678901-8274651902736451029";
  std::string version = "6.15.2";
  OSVersion osVersion;
  std::vector<std::string> classes;
  CompletionReply start;
  CompletionReply logEvent;
  CompletionReply purchase;
  CompletionReply purchaseV2;
  URLReply openStore;
  URLReply inviteUrl;
  bool purchaseDetailsFail = false;
  std::optional<CompletionReply> conversion;
  std::optional<CompletionReply> appOpenAttribution;
  std::optional<DeepLinkReport> deepLink;
};

// The defaults: every operation answers at once with plausible data; no delegate reports.
SimulatorConfig defaultSimulatorConfig();

// Fails with a message that names the offending key.
Expected<SimulatorConfig, std::string> parseSimulatorConfig(std::string_view text);

// The text of a config file, or a message naming the file that cannot be read.
Expected<std::string, std::string> readSimulatorConfigFile(const std::string& path);

}  // namespace lumetra_rpc::simulator
