#include "linux/base/ProcessMemory.h"

#include <malloc.h>

namespace kelpie {
namespace {

// One for the main thread, which must not wait while another thread takes in a long message.
constexpr int kHeaps = 2;

}  // namespace

void ProcessMemory::shareHeaps() {
#ifdef M_ARENA_MAX
  ::mallopt(M_ARENA_MAX, kHeaps);
#else
  static_cast<void>(kHeaps);
#endif
}

}  // namespace kelpie
