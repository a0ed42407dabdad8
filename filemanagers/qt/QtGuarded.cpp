#include "qt/QtGuarded.h"

#include <map>
#include <string_view>

namespace kelpie::filemanagers {

const QLoggingCategory& kelpieLog() {
  static const QLoggingCategory category("kelpie", QtInfoMsg);
  return category;
}

QtHeldTime::~QtHeldTime() {
  using Microseconds = std::chrono::microseconds;
  static std::map<std::string_view, Microseconds> longest;
  const auto time =
      std::chrono::duration_cast<Microseconds>(std::chrono::steady_clock::now() - begin_);
  Microseconds& before = longest[what_];
  if (time <= before) return;
  before = time;
  qCDebug(kelpieLog, "%s held the main loop for %lld us", what_,
          static_cast<long long>(time.count()));
}

}  // namespace kelpie::filemanagers
