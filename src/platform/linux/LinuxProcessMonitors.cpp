#include "platform/linux/LinuxProcessMonitors.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "linux/base/GuardedTask.h"
#include "linux/base/SystemError.h"
#include "linux/base/UniqueFd.h"

namespace kelpie {

// Main thread.
struct LinuxProcessMonitors::State : std::enable_shared_from_this<State> {
  explicit State(MainLoop& mainLoop) : loop(mainLoop) {}

  MainLoop& loop;
  std::map<std::int32_t, std::weak_ptr<Exit>> exits;  // the last one asked for, by process id
  std::vector<std::shared_ptr<Monitor>> running;      // resumed and not cancelled

  std::shared_ptr<Exit> exitOf(std::int32_t pid);
  void fire(const Exit& exit);
};

// The exit of one process, which its monitors share.
class LinuxProcessMonitors::Exit {
 public:
  // `onExit` is called once, when the process has ended after this was made.
  Exit(MainLoop& loop, std::int32_t pid, std::function<void(const Exit&)> onExit)
      : onExit_(std::move(onExit)),
        process_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))),
        hasHappened_(!process_ && errno == ESRCH) {
    if (process_) {
      source_ = loop.watch(process_.get(), G_IO_IN, [this](GIOCondition) { happen(); });
    } else if (!hasHappened_) {
      loop.log().write(
          systemErrorText("the end of process " + std::to_string(pid) + " cannot be seen", errno));
    }
  }
  Exit(const Exit&) = delete;
  Exit& operator=(const Exit&) = delete;

  // Whether the main loop has seen the end.
  bool hasHappened() const { return hasHappened_; }
  // Whether the process has ended, seen or not.
  bool isOver() const {
    pollfd process = {process_.get(), POLLIN, 0};
    return hasHappened_ || (process_ && ::poll(&process, 1, 0) > 0);
  }
  // Whether the process still runs, so that nobody else can have its id.
  bool isAwaited() const { return process_ && !isOver(); }

 private:
  void happen() {
    hasHappened_ = true;
    source_.reset();  // the descriptor stays readable
    onExit_(*this);
  }

  const std::function<void(const Exit&)> onExit_;
  const UniqueFd process_;
  bool hasHappened_;
  std::unique_ptr<MainLoop::Source> source_;
};

class LinuxProcessMonitors::Monitor final : public ProcessMonitor,
                                            public std::enable_shared_from_this<Monitor> {
 public:
  Monitor(const std::shared_ptr<State>& state, std::shared_ptr<Exit> exit)
      : state_(state), loop_(state->loop), exit_(std::move(exit)) {}

  bool awaits(const Exit& exit) const { return exit_.get() == &exit; }
  bool isOver() const { return exit_ != nullptr && exit_->isOver(); }

  void setEventHandler(std::function<void()> handler) override {
    eventHandler_ = std::move(handler);
  }
  void setCancelHandler(std::function<void()> handler) override {
    cancelHandler_ = std::move(handler);
  }

  void resume() override {
    const auto state = state_.lock();
    if (!state || cancelled_ || std::exchange(resumed_, true)) return;
    state->running.push_back(shared_from_this());
    if (exit_->hasHappened()) fire();
  }

  void cancel() override {
    if (std::exchange(cancelled_, true)) return;
    loop_.queue()->post([self = shared_from_this()] { self->finish(); });
  }

  void fire() {
    loop_.queue()->post([self = shared_from_this()] { self->handle(); });
  }

  // Calls the event handler, unless that has been done.
  void handle() {
    if (cancelled_ || !eventHandler_ || std::exchange(handled_, true)) return;
    const auto handler = eventHandler_;  // it may let the handler go
    handler();
  }

  // Lets go what the handlers hold, which may hold this monitor.
  void forget() {
    cancelled_ = true;
    eventHandler_ = nullptr;
    cancelHandler_ = nullptr;
    exit_.reset();
  }

 private:
  void finish() {
    const auto handler = std::exchange(cancelHandler_, nullptr);
    if (const auto state = state_.lock()) std::erase(state->running, shared_from_this());
    forget();
    if (handler) handler();
  }

  const std::weak_ptr<State> state_;
  MainLoop& loop_;
  std::shared_ptr<Exit> exit_;
  bool resumed_ = false;
  bool cancelled_ = false;
  bool handled_ = false;
  std::function<void()> eventHandler_;
  std::function<void()> cancelHandler_;
};

std::shared_ptr<LinuxProcessMonitors::Exit> LinuxProcessMonitors::State::exitOf(std::int32_t pid) {
  auto exit = exits[pid].lock();
  if (exit && exit->isAwaited()) return exit;
  std::erase_if(exits, [](const auto& entry) { return entry.second.expired(); });
  // Monitors that nobody resumed keep their exit, though the state may be gone.
  exit = std::make_shared<Exit>(loop, pid, [weak = weak_from_this()](const Exit& happened) {
    if (const auto state = weak.lock()) state->fire(happened);
  });
  exits[pid] = exit;
  return exit;
}

void LinuxProcessMonitors::State::fire(const Exit& exit) {
  for (const auto& monitor : running)
    if (monitor->awaits(exit)) monitor->fire();
}

LinuxProcessMonitors::LinuxProcessMonitors(MainLoop& loop)
    : state_(std::make_shared<State>(loop)) {}

LinuxProcessMonitors::~LinuxProcessMonitors() {
  for (const auto& monitor : std::exchange(state_->running, {})) monitor->forget();
}

std::shared_ptr<ProcessMonitor> LinuxProcessMonitors::makeMonitor(std::int32_t pid) {
  return std::make_shared<Monitor>(state_, state_->exitOf(pid));
}

void LinuxProcessMonitors::handleEnds() {
  // Copied: a handler may resume and cancel watches.
  for (const auto& monitor : std::vector(state_->running))
    if (monitor->isOver()) runGuarded(state_->loop.log(), [&] { monitor->handle(); });
}

}  // namespace kelpie
