#include "harness.h"
#include "runtime/runtime_core.h"

#include <malloc.h>
#include <unistd.h>
#include <algorithm>
#include <ctime>
#include <fstream>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_future.hpp>

#include "lumetra_rpc/runtime.h"

namespace lumetra_rpc::bench {

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double medianNsPerOp(int batches, int perBatch, const std::function<void()>& batch) {
  batch();
  std::vector<double> perOp;
  perOp.reserve(static_cast<std::size_t>(batches));
  for (int i = 0; i < batches; ++i) {
    auto start = Clock::now();
    batch();
    perOp.push_back(secondsSince(start) * 1e9 / perBatch);
  }
  return median(std::move(perOp));
}

void runOnPool(std::function<boost::asio::awaitable<void>()> body) {
  auto done = boost::asio::co_spawn(runningCore().pool(), std::move(body), boost::asio::use_future);
  done.get();
}

void keepFreedMemory() {
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

double processCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0, resident = 0;
  statm >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t threadCount() {
  std::ifstream status("/proc/self/status");
  std::string key;
  while (status >> key) {
    if (key == "Threads:") {
      std::size_t count = 0;
      status >> count;
      return count;
    }
    status.ignore(4096, '\n');
  }
  return 0;
}

}  // namespace lumetra_rpc::bench
