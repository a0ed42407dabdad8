#include <malloc.h>

#include <cstddef>
#include <span>

#include "linux/sync/SyncProgram.h"

namespace {

// Messages of many kilobytes are made on one thread and let go on another. With an arena for each
// thread, and thresholds that grow with what is let go, the C library would keep the memory of all
// that were ever under way at once.
void returnMemory() {
  constexpr int kArenas = 2;
  constexpr int kMappedFrom = 128 << 10;  // bytes
  ::mallopt(M_ARENA_MAX, kArenas);
  ::mallopt(M_MMAP_THRESHOLD, kMappedFrom);
}

}  // namespace

int main(int argc, char** argv) {
  returnMemory();
  const std::span<char* const> all(argv, static_cast<std::size_t>(argc));
  return kelpie::SyncProgram::main(all.empty() ? all : all.subspan(1));
}
