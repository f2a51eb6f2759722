#include "allocation_count.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace lumetra_rpc::bench {
namespace {

std::atomic<bool> counting{false};
std::atomic<std::uint64_t> counted{0};

void note() noexcept {
  if (counting.load(std::memory_order_relaxed)) counted.fetch_add(1, std::memory_order_relaxed);
}

void* tryAllocate(std::size_t size, std::size_t alignment) noexcept {
  if (size == 0) size = 1;
  if (alignment <= alignof(std::max_align_t)) return std::malloc(size);
  // aligned_alloc wants a size that is a multiple of the alignment.
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

// Counted once per call, however often the new-handler makes it retry.
void* allocate(std::size_t size, std::size_t alignment) {
  note();
  for (;;) {
    if (void* p = tryAllocate(size, alignment)) return p;
    auto handler = std::get_new_handler();
    if (!handler) throw std::bad_alloc();
    handler();
  }
}

void* allocateNoThrow(std::size_t size, std::size_t alignment) noexcept {
  try {
    return allocate(size, alignment);
  } catch (...) {
    return nullptr;
  }
}

constexpr std::size_t kPlain = alignof(std::max_align_t);

}  // namespace

void countAllocations(bool on) noexcept {
  counting.store(on, std::memory_order_relaxed);
}
std::uint64_t allocationsCounted() noexcept {
  return counted.load(std::memory_order_relaxed);
}

}  // namespace lumetra_rpc::bench

using lumetra_rpc::bench::allocate;
using lumetra_rpc::bench::allocateNoThrow;
using lumetra_rpc::bench::kPlain;

void* operator new(std::size_t size) {
  return allocate(size, kPlain);
}
void* operator new[](std::size_t size) {
  return allocate(size, kPlain);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocateNoThrow(size, kPlain);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocateNoThrow(size, kPlain);
}
void* operator new(std::size_t size, std::align_val_t a) {
  return allocate(size, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t size, std::align_val_t a) {
  return allocate(size, static_cast<std::size_t>(a));
}
void* operator new(std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept {
  return allocateNoThrow(size, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept {
  return allocateNoThrow(size, static_cast<std::size_t>(a));
}

void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
  std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  std::free(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(p);
}
