#include "sdk/platform.h"

#include <algorithm>
#include <mutex>

namespace lumetra_rpc::platform {

namespace {

// Requests read these from pool threads while a host (or a test) may set them; both sides
// go through one lock, held only for a copy.
struct PlatformState {
  std::mutex lock;
  OSVersion osVersion;
  std::vector<std::string> presentClasses;
};

PlatformState& state() {
  static PlatformState instance;
  return instance;
}

}  // namespace

OSVersion runningOSVersion() {
  auto& s = state();
  std::lock_guard guard(s.lock);
  return s.osVersion;
}

bool isOSVersionAtLeast(OSVersion required) {
  return runningOSVersion() >= required;
}

std::optional<ClassHandle> lookupClass(std::string_view name) {
  auto& s = state();
  std::lock_guard guard(s.lock);
  auto found = std::find(s.presentClasses.begin(), s.presentClasses.end(), name);
  if (found == s.presentClasses.end()) return std::nullopt;
  return ClassHandle{*found};
}

void setRunningOSVersion(OSVersion version) {
  auto& s = state();
  std::lock_guard guard(s.lock);
  s.osVersion = version;
}

void setPresentClasses(std::vector<std::string> names) {
  auto& s = state();
  std::lock_guard guard(s.lock);
  s.presentClasses = std::move(names);
}

}  // namespace lumetra_rpc::platform
