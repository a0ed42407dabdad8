#include "glib/Guarded.h"

namespace kelpie::filemanagers {

HeldTime::~HeldTime() {
  static std::chrono::steady_clock::duration longest{};
  const auto time = std::chrono::steady_clock::now() - begin_;
  if (time <= longest) return;
  longest = time;
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  g_debug("%s held the main loop for %lld us", what_, static_cast<long long>(microseconds));
}

}  // namespace kelpie::filemanagers
