// An SDK binding written against the installed headers alone: the interface and the types
// its signatures carry compile without the library's sources.
#include <cstdio>
#include <memory>

#include <lumetra_rpc/sdk.h>

namespace {

class VersionOnlySDK final : public lumetra_rpc::LMRPCDataSDK {
 public:
  void setUserEmails(const lumetra_rpc::StringList&, std::int64_t) override {}
  void logLocation(double, double) override {}
  std::string getLumetraUID() override { return "uid"; }
  std::string getSDKVersion() override { return "binding-1.0"; }
};

}  // namespace

int main() {
  std::unique_ptr<lumetra_rpc::LMRPCDataSDK> sdk = std::make_unique<VersionOnlySDK>();
  std::printf("%s\n", sdk->getSDKVersion().c_str());
  return 0;
}
