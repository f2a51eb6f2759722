#include "pipeline/configuration.h"

#include <cmath>
#include <mutex>

#include "runtime/immortal.h"
#include "runtime/lifecycle.h"
#include "sdk/default_sdk.h"
#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

using Failure = Unexpected<std::string>;

// Generous, but small enough that the nanosecond count of any timeout fits 64 bits.
constexpr double kMaxTimeoutSeconds = 1e9;
constexpr std::size_t kMaxPoolThreads = 256;

struct SharedSettingsStore {
  std::mutex mutex;
  SharedClientSettings settings;
};

SharedSettingsStore& store() {
  static Immortal<SharedSettingsStore> instance;
  return instance.get();
}

std::optional<double> numberOf(const AnyCodable& value) {
  if (const auto* i = value.getIf<std::int64_t>()) return static_cast<double>(*i);
  if (const auto* d = value.getIf<double>()) return *d;
  return std::nullopt;
}

Expected<TimeoutConfig, std::string> readTimeouts(const AnyCodable& value) {
  const auto* members = value.getIf<JSONObject>();
  if (!members) return Failure{"\"timeouts\" must be an object"};
  TimeoutConfig timeouts;
  for (const auto& [name, member] : *members) {
    double* field = timeoutField(timeouts, name);
    if (!field)
      return Failure{"unknown timeout \"" + name +
                     "\" (known: start, logEvent, purchase, crossPromotion, shareInvite)"};
    auto seconds = numberOf(member);
    if (!seconds || !isValidTimeout(*seconds))
      return Failure{"timeout \"" + name + "\" must be a number of seconds from 0 to 1e9"};
    *field = *seconds;
  }
  return timeouts;
}

Expected<std::monostate, std::string> readMember(const std::string& name, const AnyCodable& value,
                                                 LMRPCConfiguration& configuration) {
  if (name == "sdk") {
    if (!value.getIf<JSONObject>()) return Failure{"\"sdk\" must be an object"};
    auto text = writeJSON(value);
    if (!text) return Failure{"\"sdk\" cannot be read back"};
    configuration.sdkConfigJson = std::move(text).value();
  } else if (name == "timeouts") {
    auto timeouts = readTimeouts(value);
    if (!timeouts) return Failure{timeouts.error()};
    configuration.timeouts = timeouts.value();
  } else if (name == "poolThreads") {
    const auto* count = value.getIf<std::int64_t>();
    if (!count || *count < 1 || *count > static_cast<std::int64_t>(kMaxPoolThreads))
      return Failure{"\"poolThreads\" must be an integer from 1 to 256"};
    configuration.poolThreads = static_cast<std::size_t>(*count);
  } else if (name == "mainExecutor") {
    const auto* mode = value.getIf<std::string>();
    if (!mode || (*mode != "dedicated" && *mode != "host"))
      return Failure{"\"mainExecutor\" must be \"dedicated\" or \"host\""};
    configuration.mainExecutor = *mode == "host" ? MainExecutorMode::host : MainExecutorMode::dedicated;
  } else {
    return Failure{"unknown member \"" + name + "\" (known: sdk, timeouts, poolThreads, mainExecutor)"};
  }
  return std::monostate{};
}

}  // namespace

double* timeoutField(TimeoutConfig& timeouts, std::string_view name) noexcept {
  if (name == "start") return &timeouts.start;
  if (name == "logEvent") return &timeouts.logEvent;
  if (name == "purchase") return &timeouts.purchase;
  if (name == "crossPromotion") return &timeouts.crossPromotion;
  if (name == "shareInvite") return &timeouts.shareInvite;
  return nullptr;
}

bool isValidTimeout(double seconds) noexcept {
  return std::isfinite(seconds) && seconds >= 0 && seconds <= kMaxTimeoutSeconds;
}

Expected<LMRPCConfiguration, std::string> readConfiguration(std::string_view json) {
  auto value = readJSON(json);
  if (!value) return Failure{"not JSON: " + value.error().description};
  const auto* members = value->getIf<JSONObject>();
  if (!members) return Failure{"the configuration must be a JSON object"};
  LMRPCConfiguration configuration;
  for (const auto& [name, member] : *members) {
    auto read = readMember(name, member, configuration);
    if (!read) return Failure{read.error()};
  }
  return configuration;
}

ConfigureResult applyConfiguration(const LMRPCConfiguration& configuration) {
  ConfigureResult result;
  if (configuration.poolThreads &&
      (*configuration.poolThreads < 1 || *configuration.poolThreads > kMaxPoolThreads))
    return {ConfigureStatus::invalid, "\"poolThreads\" must be an integer from 1 to 256"};
  bool configurable = changeSettings([&](RuntimeSettings& settings) {
    // Everything that can fail comes first, so a refused configuration changes nothing.
    if (configuration.sdkConfigJson) {
      auto applied = configureDefaultSDK(*configuration.sdkConfigJson);
      if (!applied) {
        result = {ConfigureStatus::invalid, "\"sdk\": " + applied.error()};
        return;
      }
    }
    if (configuration.poolThreads) settings.poolThreads = *configuration.poolThreads;
    if (configuration.mainExecutor)
      settings.mainMode =
          *configuration.mainExecutor == MainExecutorMode::host ? MainMode::host : MainMode::dedicated;
    auto& s = store();
    std::lock_guard lock(s.mutex);
    if (configuration.timeouts) s.settings.timeouts = *configuration.timeouts;
    if (configuration.sdk) s.settings.sdk = configuration.sdk;
  });
  if (!configurable) return {ConfigureStatus::alreadyRunning, "the library is already running"};
  return result;
}

SharedClientSettings sharedClientSettings() {
  auto& s = store();
  std::lock_guard lock(s.mutex);
  return s.settings;
}

}  // namespace lumetra_rpc
