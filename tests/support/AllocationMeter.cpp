#include "support/AllocationMeter.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

struct Counters {
  std::uint64_t count;
  std::int64_t bytes;  // may be negative: what one thread takes another may give back
  std::int64_t peak;
};
thread_local Counters counters{};

void* take(std::size_t size) {
  void* block = std::malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) throw std::bad_alloc();
  ++counters.count;
  counters.bytes += static_cast<std::int64_t>(malloc_usable_size(block));
  counters.peak = std::max(counters.peak, counters.bytes);
  return block;
}

void giveBack(void* block) {
  if (block == nullptr) return;
  counters.bytes -= static_cast<std::int64_t>(malloc_usable_size(block));
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return take(size); }
void* operator new[](std::size_t size) { return take(size); }
void operator delete(void* block) noexcept { giveBack(block); }
void operator delete[](void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { giveBack(block); }

namespace kelpie {

AllocationMeter::AllocationMeter() : startCount_(counters.count), startBytes_(counters.bytes) {
  counters.peak = counters.bytes;
}

std::uint64_t AllocationMeter::count() const { return counters.count - startCount_; }

std::size_t AllocationMeter::peak() const {
  return static_cast<std::size_t>(std::max<std::int64_t>(counters.peak - startBytes_, 0));
}

}  // namespace kelpie
