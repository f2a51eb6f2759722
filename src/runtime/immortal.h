#pragma once
// A process-wide object that is never destroyed. Library threads may still be running
// (inside a host callback, or detached at exit) while the process tears down its statics;
// whatever they can reach must outlive that, so it is built in place and its destructor
// is never run.

#include <memory>
#include <new>
#include <utility>

namespace lumetra_rpc {

template <typename T>
class Immortal {
 public:
  template <typename... Args>
  explicit Immortal(Args&&... args) {
    std::construct_at(pointer(), std::forward<Args>(args)...);
  }
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  T& get() noexcept { return *pointer(); }
  T* operator->() noexcept { return pointer(); }

 private:
  T* pointer() noexcept { return std::launder(reinterpret_cast<T*>(storage_)); }

  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace lumetra_rpc
