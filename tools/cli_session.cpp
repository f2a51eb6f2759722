#include "cli_session.h"

#include <chrono>
#include <cstdio>
#include <thread>

#include "lumetra_rpc/runtime.h"
#include "sdk/simulator/simulator.h"

namespace lumetra_rpc::cli {

namespace {

using std::chrono::milliseconds;

// How long the main executor must stay without work, once every request is answered and
// the SDK is quiet, before the events still travelling through the pool count as
// delivered.
constexpr milliseconds kQuietPeriod{250};
constexpr milliseconds kPumpSlice{5};

bool isBlank(const std::string& line) {
  return line.find_first_not_of(" \t\r\n") == std::string::npos;
}

// Runs main-executor jobs for one slice, waiting for them while there are none.
std::size_t pumpSlice() {
  return Runtime::runMainFor(kPumpSlice);
}

}  // namespace

void writeLine(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

CliSession::CliSession(std::shared_ptr<LumetraRPCBridge> bridge, bool concurrent)
    : bridge_(std::move(bridge)), concurrent_(concurrent) {}

void CliSession::run(std::istream& input) {
  bridge_->setEventHandler([](std::string text) { writeLine(text); });
  std::thread reader([this, &input] { readRequests(input); });
  pumpUntilSettled();
  reader.join();
  drainRemaining();
  bridge_->removeEventHandler();
}

void CliSession::readRequests(std::istream& input) {
  std::string line;
  while (std::getline(input, line)) {
    if (isBlank(line)) continue;
    send(std::move(line));
    if (concurrent_) continue;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return outstanding_ == 0; });
  }
  std::lock_guard lock(mutex_);
  inputDone_ = true;
}

void CliSession::send(std::string line) {
  {
    std::lock_guard lock(mutex_);
    ++outstanding_;
  }
  bridge_->executeJson(std::move(line), [this](std::string response) { answered(response); });
}

void CliSession::answered(const std::string& response) {
  writeLine(response);
  std::lock_guard lock(mutex_);
  --outstanding_;
  changed_.notify_all();
}

bool CliSession::requestsSettled() {
  std::lock_guard lock(mutex_);
  return inputDone_ && outstanding_ == 0;
}

void CliSession::pumpUntilSettled() {
  while (!requestsSettled()) pumpSlice();
}

void CliSession::drainRemaining() {
  auto quietSince = std::chrono::steady_clock::now();
  while (true) {
    if (pumpSlice() > 0 || !simulator::simulatorIdle()) {
      quietSince = std::chrono::steady_clock::now();
    } else if (std::chrono::steady_clock::now() - quietSince >= kQuietPeriod) {
      return;
    }
  }
}

}  // namespace lumetra_rpc::cli
