#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/actions/ActionInfo.h"
#include "agent/desktop/Notifier.h"
#include "foundation/ThreadBound.h"
#include "linux/base/MainLoop.h"

namespace kelpie::agent {

// Tells the user of actions that take long, with a button that calls them off: a hook that hangs,
// a server that does not answer, and those that wait for such a one. Main thread.
class ActionProgress {
 public:
  struct Runner {
    std::function<std::vector<ActionInfo>()> actions;  // those that have not ended
    std::function<void(std::uint64_t)> cancel;
  };
  // How long an action may run before the user is told of it.
  static constexpr std::chrono::milliseconds kPatience{2000};

  // Both outlive this.
  ActionProgress(MainLoop& loop, Notifier& notifier, Runner runner,
                 std::chrono::milliseconds patience = kPatience);
  ActionProgress(const ActionProgress&) = delete;
  ActionProgress& operator=(const ActionProgress&) = delete;
  ~ActionProgress() = default;

  void began(const ActionInfo& action);
  void over(const ActionInfo& action);

 private:
  struct Watched {
    std::unique_ptr<EventLoop::Timer> timer;
    std::optional<Notifier::Key> told;
  };

  void waitFor(std::uint64_t id);
  void look(std::uint64_t id);

  MainLoop& loop_;
  Notifier& notifier_;
  Runner runner_;
  const std::chrono::milliseconds patience_;
  std::map<std::uint64_t, Watched> watched_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
