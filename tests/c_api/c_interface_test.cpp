#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>

#include "lumetra_rpc/lumetra_rpc.h"
#include "pipeline/c_api_testing.h"
#include "support/pump.h"
#include "wire/records.h"

namespace lumetra_rpc {
namespace {

struct Answers {
  std::atomic<int> calls{0};
  std::string text;
};

void record(void* context, char* text, size_t length) {
  auto* answers = static_cast<Answers*>(context);
  answers->text.assign(text, length);
  EXPECT_EQ(text[length], '\0');
  lmrpc_text_free(text);  // must leave a static fallback alone
  ++answers->calls;
}

// When the host's copy cannot be allocated, the completion still runs once, with the
// fallback text, and freeing that text is harmless.
TEST(CInterface, AFailedCopyStillAnswersOnceWithTheFallback) {
  Answers answers;
  const char* request = R"({"id":1,"method":"getSDKVersion"})";
  testing_hooks::failNextTextCopies(1);
  ASSERT_EQ(lmrpc_execute_json(request, std::strlen(request), record, &answers), LMRPC_OK);
  ASSERT_TRUE(testing::pumpUntil([&] { return answers.calls.load() == 1; }));
  testing::pumpFor(std::chrono::milliseconds(10));
  EXPECT_EQ(answers.calls.load(), 1);
  EXPECT_EQ(answers.text, kResponseFallbackText);
}

}  // namespace
}  // namespace lumetra_rpc
