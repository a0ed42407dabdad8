#pragma once

#include <chrono>
#include <functional>

#include "linux/hostclient/HostClient.h"

namespace kelpie::filemanagers {

// Waits for a menu that the user is opening, for file managers that can't change it while it is
// open. Short, and not again for a while once it was in vain: an extension that is stopped must not
// be waited for with each click. Main thread.
class MenuWait {
 public:
  using Time = HostClient::Time;
  // Serves the connection until `done` holds, for `limit` at most; whether it does.
  using Server =
      std::function<bool(const std::function<bool()>& done, std::chrono::milliseconds limit)>;

  static constexpr std::chrono::milliseconds kLimit{50};
  static constexpr std::chrono::seconds kPause{30};

  // Waits until `done` holds, if it doesn't and a wait is allowed now. Whether it holds.
  bool wait(const std::function<bool()>& done, const Server& serve, Time now);
  // A menu has come, be it late: the extension serves, and may be waited for again.
  void answered() { noWaitBefore_ = {}; }
  bool isWaiting() const { return isWaiting_; }

 private:
  bool isWaiting_ = false;
  Time noWaitBefore_{};
};

}  // namespace kelpie::filemanagers
