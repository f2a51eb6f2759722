#pragma once
// Reads a host's configuration text, and applies a configuration to the library before
// first use. The command-line host, the C interface and the C++ facade all come here.

#include <string_view>

#include "lumetra_rpc/configuration.h"
#include "wire/expected.h"

namespace lumetra_rpc {

// A JSON object whose members are all optional: "sdk" (object), "timeouts" (object of
// seconds: start, logEvent, purchase, crossPromotion, shareInvite), "poolThreads"
// (integer), "mainExecutor" ("dedicated" or "host"). Unknown members are refused, so a
// typo cannot pass silently; the failure names the member.
Expected<LMRPCConfiguration, std::string> readConfiguration(std::string_view json);

// The field of `timeouts` a name stands for ("start", "logEvent", ...), or null; and
// whether a number of seconds is one a timeout may take.
double* timeoutField(TimeoutConfig& timeouts, std::string_view name) noexcept;
bool isValidTimeout(double seconds) noexcept;

ConfigureResult applyConfiguration(const LMRPCConfiguration& configuration);

// What the shared facade's client is built with.
struct SharedClientSettings {
  TimeoutConfig timeouts;
  std::shared_ptr<LMRPCSDKCapabilities> sdk;
};
SharedClientSettings sharedClientSettings();

}  // namespace lumetra_rpc
