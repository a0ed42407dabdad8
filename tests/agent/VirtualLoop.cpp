#include "agent/VirtualLoop.h"

#include <algorithm>

namespace kelpie::agent {

class VirtualLoop::Waiting final : public Timer {
 public:
  Waiting(std::weak_ptr<Timers> timers, Key key) : timers_(std::move(timers)), key_(key) {}
  ~Waiting() override {
    if (const auto timers = timers_.lock()) timers->erase(key_);
  }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

 private:
  std::weak_ptr<Timers> timers_;
  Key key_;
};

std::unique_ptr<EventLoop::Timer> VirtualLoop::callAfter(std::chrono::milliseconds delay,
                                                         std::function<void()> task) {
  const Key key(now_ + delay, ++last_);
  timers_->emplace(key, std::move(task));
  return std::make_unique<Waiting>(timers_, key);
}

bool VirtualLoop::runNextTimer() {
  if (timers_->empty()) return false;
  const auto next = timers_->extract(timers_->begin());
  now_ = std::max(now_, next.key().first);
  next.mapped()();
  return true;
}

}  // namespace kelpie::agent
