#pragma once
// Test-only hooks into the C interface.

namespace lumetra_rpc::testing_hooks {

// The next `count` copies of texts for the host fail as if malloc had failed.
void failNextTextCopies(int count) noexcept;

}  // namespace lumetra_rpc::testing_hooks
