// Inputs written to hurt: each gets its ordinary, specified answer, quickly and without a
// crash.

#include <gtest/gtest.h>

#include "lumetra_rpc/client.h"
#include "sdk/lumetra_sdk_adapter.h"
#include "support/pump.h"

namespace lumetra_rpc {
namespace {

struct HostileInput : ::testing::Test {
  std::shared_ptr<LumetraSDKAdapter> sdk = std::make_shared<LumetraSDKAdapter>();
  std::shared_ptr<LMRPCClient> client = LMRPCClient::create([](std::string) {}, TimeoutConfig{}, sdk);
  std::string run(const std::string& text) { return testing::execute(*client, text); }
  static bool startsWith(const std::string& text, const std::string& head) {
    return text.rfind(head, 0) == 0;
  }
};

TEST_F(HostileInput, HugeButValidRequestsAreServed) {
  std::string escapes;
  for (int i = 0; i < 170'000; ++i) escapes += "\\u00e9";  // about 1 MiB of escapes
  EXPECT_TRUE(startsWith(
      run(R"({"id":1,"method":"setCustomerUserId","params":{"customerUserId":")" + escapes + "\"}}"),
      R"({"error":null,"id":1,"result":{"message":"customerUserId set")"));

  std::string manyKeys = R"({"id":2,"method":"getSDKVersion","params":{)";
  for (int i = 0; i < 10'000; ++i)
    manyKeys += (i ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i);
  EXPECT_TRUE(startsWith(run(manyKeys + "}}"), R"({"error":null,"id":2,"result":{)"));

  std::string longKey(100'000, 'k');
  EXPECT_TRUE(startsWith(run(R"({"id":3,"method":"getSDKVersion","params":{")" + longKey + "\":1}}"),
                         R"({"error":null,"id":3,"result":{)"));

  std::string deepId = std::string(300, '[') + "{}" + std::string(300, ']');
  EXPECT_NE(run(R"({"id":)" + deepId + R"(,"method":"nope"})").find(deepId), std::string::npos);
}

TEST_F(HostileInput, MalformedTextIsRefusedAsInvalidJSON) {
  const std::string invalid = R"({"error":{"code":400,"message":"Invalid JSON-RPC request structure: )";
  const std::string cases[] = {
      std::string(1'048'575, '['),
      std::string(R"({"id":1,"method":"init","params":{"devKey":"a)") + "\xC3\x28" + R"(b","appId":"c"}})",
      std::string(R"({"id":1,"method":"in)") + '\0' + R"(it"})",
  };
  for (const auto& text : cases) EXPECT_TRUE(startsWith(run(text), invalid)) << text.substr(0, 80);
  // Underflow and integers beyond 64 bits are numbers, and answered as such.
  EXPECT_NE(
      run(R"({"id":1,"method":"logLocation","params":{"longitude":1e-400,"latitude":18446744073709551616}})")
          .find("latitude must be between -90 and 90, got 1.8446744073709552e+19"),
      std::string::npos);
}

// Blocked and hidden URL schemes, for every URL method, are rows of parsing_cases.json.

}  // namespace
}  // namespace lumetra_rpc
