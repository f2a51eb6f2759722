#pragma once
// The command line of lumetra-rpc, read into a value. Reading never prints; the caller
// decides what a refusal looks like.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumetra_rpc/timeout_config.h"
#include "wire/expected.h"

namespace lumetra_rpc::cli {

struct CliOptions {
  std::optional<std::string> sdkConfigPath;
  std::optional<std::string> journalPath;
  TimeoutConfig timeouts;
  bool concurrent = false;
  bool help = false;
  bool openrpc = false;
};

extern const char kUsage[];

// Fails with a one-line message naming the offending argument.
Expected<CliOptions, std::string> parseCliOptions(const std::vector<std::string_view>& arguments);

// "start=0.5,purchase=2" over `base`: only the named timeouts change.
Expected<TimeoutConfig, std::string> parseTimeouts(std::string_view text, TimeoutConfig base);

}  // namespace lumetra_rpc::cli
