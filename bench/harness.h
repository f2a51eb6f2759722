#pragma once
// The measuring kit the figures share: batch timing with medians, process readings from
// /proc, and running a coroutine on the pool while the calling thread waits.

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <boost/asio/awaitable.hpp>

namespace lumetra_rpc::bench {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start);

// Runs `batch` (which performs `perBatch` operations) `batches` times after one untimed
// warm-up batch and returns the median cost of one operation in nanoseconds. The median
// keeps a batch disturbed by the other core's work from moving the figure.
double medianNsPerOp(int batches, int perBatch, const std::function<void()>& batch);

// Runs `body` on the shared pool and blocks the calling (non-pool) thread until it ends.
void runOnPool(std::function<boost::asio::awaitable<void>()> body);

// glibc hands every freed block above 128 KiB straight back to the kernel, so freeing a
// 1 MiB request text costs tens of microseconds of page-table work on this kind of VM,
// more than the library's whole answer to an oversized text. The timed figures are
// about the library's work, so the benchmark lets the process keep what it frees.
void keepFreedMemory();

// CPU time used so far by every thread of the process.
double processCpuSeconds();

std::size_t residentBytes();
std::size_t threadCount();

double median(std::vector<double> values);

}  // namespace lumetra_rpc::bench
