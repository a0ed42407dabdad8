#include "support/FakeProcessMonitors.h"

#include <functional>
#include <string>
#include <utility>

namespace kelpie {

struct FakeProcessMonitors::State {
  State(EventLog& log, std::shared_ptr<SerialQueue> queue)
      : events(log), mainQueue(std::move(queue)) {}

  EventLog& events;
  std::shared_ptr<SerialQueue> mainQueue;
  std::set<std::int32_t> gone;
  std::vector<std::shared_ptr<Monitor>> running;  // kept alive here, as the contract asks
};

class FakeProcessMonitors::Monitor final : public ProcessMonitor,
                                           public std::enable_shared_from_this<Monitor> {
 public:
  Monitor(std::shared_ptr<State> state, std::int32_t pid) : state_(std::move(state)), pid_(pid) {}

  std::int32_t pid() const { return pid_; }

  void fire() {
    state_->mainQueue->post([self = shared_from_this()] {
      if (!self->cancelled_ && self->eventHandler_) {
        const auto handler = self->eventHandler_;
        handler();
      }
    });
  }

  void setEventHandler(std::function<void()> handler) override {
    eventHandler_ = std::move(handler);
  }
  void setCancelHandler(std::function<void()> handler) override {
    cancelHandler_ = std::move(handler);
  }
  void resume() override {
    state_->events.add("monitors.resume " + std::to_string(pid_));
    if (cancelled_) return;
    state_->running.push_back(shared_from_this());
    if (state_->gone.contains(pid_)) fire();
  }
  void cancel() override {
    state_->events.add("monitors.cancel " + std::to_string(pid_));
    if (std::exchange(cancelled_, true)) return;
    state_->mainQueue->post([self = shared_from_this()] {
      const auto handler = std::exchange(self->cancelHandler_, nullptr);
      if (handler) handler();
      self->eventHandler_ = nullptr;
      std::erase(self->state_->running, self);
    });
  }
  bool isCancelled() const { return cancelled_; }

 private:
  std::shared_ptr<State> state_;
  std::int32_t pid_;
  bool cancelled_ = false;
  std::function<void()> eventHandler_;
  std::function<void()> cancelHandler_;
};

FakeProcessMonitors::FakeProcessMonitors(EventLog& events, std::shared_ptr<SerialQueue> mainQueue)
    : state_(std::make_shared<State>(events, std::move(mainQueue))) {}

FakeProcessMonitors::~FakeProcessMonitors() { state_->running.clear(); }

void FakeProcessMonitors::fire(std::int32_t pid) {
  for (const auto& monitor : state_->running)
    if (monitor->pid() == pid && !monitor->isCancelled()) monitor->fire();
}

void FakeProcessMonitors::setGone(std::int32_t pid) { state_->gone.insert(pid); }

std::size_t FakeProcessMonitors::running() const {
  std::size_t count = 0;
  for (const auto& monitor : state_->running)
    if (!monitor->isCancelled()) ++count;
  return count;
}

std::shared_ptr<ProcessMonitor> FakeProcessMonitors::makeMonitor(std::int32_t pid) {
  state_->events.add("monitors.make " + std::to_string(pid));
  return std::make_shared<Monitor>(state_, pid);
}

}  // namespace kelpie
