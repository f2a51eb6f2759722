#pragma once
// The listener flags and the event emitter, shared by the request handler, the listener
// handler and every event task. Operations run one at a time (a mutex, never held while
// calling out); the flags only ever go from false to true.

#include <functional>
#include <memory>
#include <mutex>

#include "wire/records.h"

namespace lumetra_rpc {

using EventEmitterFunction = std::function<void(const LMRPCEvent&)>;

enum class ListenerGate { conversion, deepLink };

class LMRPCHandlerStateActor {
 public:
  void storeEventEmitter(EventEmitterFunction emitter) {
    auto shared = std::make_shared<const EventEmitterFunction>(std::move(emitter));
    std::lock_guard lock(mutex_);
    eventEmitter_ = std::move(shared);
  }

  void registerListener(ListenerGate gate) {
    std::lock_guard lock(mutex_);
    (gate == ListenerGate::conversion ? hasConversionListener_ : hasDeeplinkListener_) = true;
  }

  // The emitter if the gate's listener is registered, else nothing (it may be absent too).
  std::shared_ptr<const EventEmitterFunction> emitterFor(ListenerGate gate) const {
    std::lock_guard lock(mutex_);
    bool open = gate == ListenerGate::conversion ? hasConversionListener_ : hasDeeplinkListener_;
    return open ? eventEmitter_ : nullptr;
  }

 private:
  mutable std::mutex mutex_;
  bool hasConversionListener_ = false;
  bool hasDeeplinkListener_ = false;
  std::shared_ptr<const EventEmitterFunction> eventEmitter_;
};

}  // namespace lumetra_rpc
