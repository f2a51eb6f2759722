// Every file of a public JSON parser test suite, sent as one request text: exactly one
// well-formed response each; texts that are not JSON are refused with 400 and a null id.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "lumetra_rpc/client.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(JSONConformance, EveryCorpusFileGetsExactlyOneWellFormedAnswer) {
  const fs::path corpus = fs::path(LMRPC_SHARED_DIR) / "jsontestsuite" / "test_parsing";
  // The corpus lives beside the repository, not in it; a lone clone has none.
  if (!fs::is_directory(corpus)) GTEST_SKIP() << "no JSON test corpus at " << corpus.string();
  auto client =
      LMRPCClient::create([](std::string) {}, TimeoutConfig{}, std::make_shared<LumetraSDKAdapter>());
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(corpus)) {
    const auto name = entry.path().filename().string();
    if (entry.path().extension() != ".json") continue;
    ++files;
    auto response = testing::execute(*client, readFile(entry.path()));
    auto members = testing::responseMembers(response);
    ASSERT_TRUE(members) << name << ": " << response;
    if (name.rfind("n_", 0) == 0) {
      EXPECT_TRUE(members->at("id").isNull()) << name;
      const auto* error = members->at("error").getIf<JSONObject>();
      ASSERT_NE(error, nullptr) << name << ": " << response;
      EXPECT_EQ(*error->at("code").getIf<std::int64_t>(), 400) << name << ": " << response;
    }
  }
  EXPECT_GE(files, 300u);
}

}  // namespace
}  // namespace lumetra_rpc
