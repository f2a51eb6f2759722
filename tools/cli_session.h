#pragma once
// One run of lumetra-rpc: feeds request lines from an input stream to the facade and
// writes every response and event text to stdout as the main executor delivers it.
//
// The calling thread is the host's main thread: it pumps the host-driven main executor
// until the input is exhausted, every request is answered and the simulated SDK has
// nothing left to say. Input is read on a thread of its own so that pumping never waits
// for a line.

#include <condition_variable>
#include <cstddef>
#include <istream>
#include <memory>
#include <mutex>
#include <string>

#include "lumetra_rpc/bridge.h"

namespace lumetra_rpc::cli {

class CliSession {
 public:
  CliSession(std::shared_ptr<LumetraRPCBridge> bridge, bool concurrent);

  // Returns once everything has been delivered.
  void run(std::istream& input);

 private:
  void readRequests(std::istream& input);
  void send(std::string line);
  void answered(const std::string& response);
  bool requestsSettled();
  void pumpUntilSettled();
  void drainRemaining();

  std::shared_ptr<LumetraRPCBridge> bridge_;
  bool concurrent_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t outstanding_ = 0;
  bool inputDone_ = false;
};

// Writes one text and a line break to stdout and flushes.
void writeLine(const std::string& text);

}  // namespace lumetra_rpc::cli
