#include "sdk/simulator/simulator.h"

#include <mutex>

#include "runtime/immortal.h"
#include "sdk/simulator/lumetra_lib.h"

namespace lumetra_rpc::simulator {

namespace {

// The journal outlives the instances that write to it: a host opens it once and may then
// reconfigure the simulator.
struct SharedSlot {
  std::mutex mutex;
  std::shared_ptr<CallJournal> journal;
  std::shared_ptr<LumetraLib> instance;
};

// Never destroyed: SDK answers may still arrive while the process exits.
SharedSlot& sharedSlot() {
  static Immortal<SharedSlot> slot;
  return slot.get();
}

}  // namespace

std::shared_ptr<LumetraLib> LumetraLib::shared() {
  auto& slot = sharedSlot();
  std::lock_guard lock(slot.mutex);
  if (!slot.instance) {
    slot.instance = std::make_shared<LumetraLib>(
        std::make_shared<SimulatorContext>(defaultSimulatorConfig(), slot.journal));
  }
  return slot.instance;
}

Expected<std::monostate, std::string> configureSimulator(SimulatorConfig config,
                                                         const std::optional<std::string>& journalPath) {
  std::shared_ptr<CallJournal> journal;
  if (journalPath) {
    auto opened = CallJournal::open(*journalPath);
    if (!opened) return Unexpected{opened.error()};
    journal = std::move(opened.value());
  }
  std::shared_ptr<LumetraLib> previous;
  {
    auto& slot = sharedSlot();
    std::lock_guard lock(slot.mutex);
    if (journal) slot.journal = std::move(journal);
    auto context = std::make_shared<SimulatorContext>(std::move(config), slot.journal);
    previous = std::exchange(slot.instance, std::make_shared<LumetraLib>(std::move(context)));
  }
  // The old instance stops its thread when its last user lets go, outside the lock.
  return std::monostate{};
}

Expected<std::monostate, std::string> journalSimulatorCalls(const std::string& path) {
  return configureSimulator(LumetraLib::shared()->context().config(), path);
}

bool simulatorIdle() {
  return LumetraLib::shared()->context().scheduler().idle();
}

bool waitForSimulatorIdle(std::chrono::milliseconds ceiling) {
  return LumetraLib::shared()->context().scheduler().waitIdle(ceiling);
}

void shutdownSimulator() {
  LumetraLib::shared()->context().scheduler().shutdown();
}

}  // namespace lumetra_rpc::simulator
