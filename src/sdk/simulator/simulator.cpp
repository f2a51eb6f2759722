#include "sdk/simulator/simulator.h"

#include <mutex>

#include "runtime/immortal.h"
#include "sdk/simulator/lumetra_lib.h"

namespace lumetra_rpc::simulator {

namespace {

struct SharedSlot {
  std::mutex mutex;
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
    slot.instance =
        std::make_shared<LumetraLib>(std::make_shared<SimulatorContext>(defaultSimulatorConfig(), nullptr));
  }
  return slot.instance;
}

Expected<std::monostate, std::string> configureSimulator(SimulatorConfig config,
                                                         const std::optional<std::string>& journalPath) {
  std::unique_ptr<CallJournal> journal;
  if (journalPath) {
    auto opened = CallJournal::open(*journalPath);
    if (!opened) return Unexpected{opened.error()};
    journal = std::move(opened.value());
  }
  platform::setRunningOSVersion(config.osVersion);
  platform::setPresentClasses(config.classes);
  auto replacement =
      std::make_shared<LumetraLib>(std::make_shared<SimulatorContext>(std::move(config), std::move(journal)));
  std::shared_ptr<LumetraLib> previous;
  {
    auto& slot = sharedSlot();
    std::lock_guard lock(slot.mutex);
    previous = std::exchange(slot.instance, std::move(replacement));
  }
  // The old instance stops its thread when its last user lets go, outside the lock.
  return std::monostate{};
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
