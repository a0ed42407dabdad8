#include "foundation/AllocationMeter.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELPIE_HEAP_IS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KELPIE_HEAP_IS_SANITIZED 1
#endif
#endif

#ifdef KELPIE_HEAP_IS_SANITIZED
#include <sanitizer/allocator_interface.h>
#elif defined(__APPLE__)
#include <malloc/malloc.h>
#else
#include <malloc.h>
#endif

namespace {

struct Counters {
  std::uint64_t count;
  std::uint64_t taken;
  std::int64_t bytes;  // may be negative: what one thread takes another may give back
  std::int64_t peak;
};
thread_local Counters counters{};

void taken(std::size_t size) {
  ++counters.count;
  counters.taken += size;
  counters.bytes += static_cast<std::int64_t>(size);
  counters.peak = std::max(counters.peak, counters.bytes);
}

void givenBack(std::size_t size) { counters.bytes -= static_cast<std::int64_t>(size); }

}  // namespace

#ifdef KELPIE_HEAP_IS_SANITIZED

// A sanitizer's heap has an operator new of its own, which it needs, and tells what it does.
namespace {

void onAllocation(const volatile void* /*block*/, std::size_t size) { taken(size); }
void onRelease(const volatile void* block) {
  givenBack(__sanitizer_get_allocated_size(const_cast<const void*>(block)));
}

[[maybe_unused]] const int kInstalled =
    __sanitizer_install_malloc_and_free_hooks(onAllocation, onRelease);

}  // namespace

#else

namespace {

std::size_t sizeOf(void* block) {
#ifdef __APPLE__
  return malloc_size(block);
#else
  return malloc_usable_size(block);
#endif
}

void* take(std::size_t size) {
  void* block = std::malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) throw std::bad_alloc();
  taken(sizeOf(block));
  return block;
}

void giveBack(void* block) {
  if (block == nullptr) return;
  givenBack(sizeOf(block));
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return take(size); }
void* operator new[](std::size_t size) { return take(size); }
void operator delete(void* block) noexcept { giveBack(block); }
void operator delete[](void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { giveBack(block); }

#endif

namespace kelpie {

AllocationMeter::AllocationMeter()
    : startCount_(counters.count), startTaken_(counters.taken), startBytes_(counters.bytes) {
  counters.peak = counters.bytes;
}

std::uint64_t AllocationMeter::count() const { return counters.count - startCount_; }

std::uint64_t AllocationMeter::bytes() const { return counters.taken - startTaken_; }

std::size_t AllocationMeter::peak() const {
  return static_cast<std::size_t>(std::max<std::int64_t>(counters.peak - startBytes_, 0));
}

}  // namespace kelpie
