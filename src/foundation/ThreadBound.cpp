#include "foundation/ThreadBound.h"

#include <cstdio>
#include <cstdlib>

namespace kelpie {

void failThreadCheck(const char* function) {
  std::fprintf(stderr, "%s() was called on another thread than its own.\n", function);
  std::abort();
}

}  // namespace kelpie
