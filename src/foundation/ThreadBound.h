#pragma once

#include <thread>

namespace kelpie {

// Whether calls from a wrong thread are noticed: in builds for debugging and with sanitizers, which
// define KELPIE_THREAD_CHECKS. Elsewhere the checks are nothing.
#ifdef KELPIE_THREAD_CHECKS
inline constexpr bool kThreadChecks = true;
#else
inline constexpr bool kThreadChecks = false;
#endif

// Ends the process with a line on standard error: `function` was called on a thread, or outside a
// queue, that it is bound to.
[[noreturn]] void failThreadCheck(const char* function);

// A member of a class that belongs to one thread, the one that makes it: each operation checks on
// entry that it was called there. A copy is bound to the same thread.
class ThreadBound {
 public:
#ifdef KELPIE_THREAD_CHECKS
  void check(const char* function = __builtin_FUNCTION()) const {
    if (std::this_thread::get_id() != thread_) failThreadCheck(function);
  }

 private:
  std::thread::id thread_ = std::this_thread::get_id();
#else
  void check() const {}
#endif
};

}  // namespace kelpie
