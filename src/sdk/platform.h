#pragma once
// The few platform facts the handlers ask about: the running OS version and whether a
// class exists in the process. On a desktop they are configurable (the SDK simulator sets
// them from its config); the defaults describe a current device without optional SDKs.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sdk/sdk_types.h"

namespace lumetra_rpc::platform {

struct OSVersion {
  int major = 17;
  int minor = 0;
  int patch = 0;
  friend auto operator<=>(const OSVersion&, const OSVersion&) = default;
};

OSVersion runningOSVersion();
bool isOSVersionAtLeast(OSVersion required);
std::optional<ClassHandle> lookupClass(std::string_view name);

void setRunningOSVersion(OSVersion version);
void setPresentClasses(std::vector<std::string> names);

}  // namespace lumetra_rpc::platform
