#include <gtest/gtest.h>

#include "lumetra_rpc/runtime.h"

// Tests pump the main executor themselves, so that they can tell exactly what ran there.
int main(int argc, char** argv) {
  lumetra_rpc::Runtime::useHostDrivenMain();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
