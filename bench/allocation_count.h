#pragma once
// The benchmark binary replaces the global operator new and delete with counting wrappers
// over malloc and free, so that allocations per request are counted, not sampled. Counting
// is off unless asked for: a shared counter bumped by every thread would itself slow the
// throughput figures that run beside it.

#include <cstdint>

namespace lumetra_rpc::bench {

void countAllocations(bool on) noexcept;
// Calls to any operator new (plain, array, aligned, nothrow) while counting was on.
std::uint64_t allocationsCounted() noexcept;

}  // namespace lumetra_rpc::bench
