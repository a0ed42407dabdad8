#include "agent/GLibTimers.h"

#include <glib.h>

#include <algorithm>
#include <utility>

namespace kelpie::agent {
namespace {

class GLibTimer final : public Timer {
 public:
  GLibTimer(std::chrono::milliseconds delay, std::function<void()> task) : task_(std::move(task)) {
    const auto wait = std::max<std::chrono::milliseconds::rep>(delay.count(), 0);
    source_ = g_timeout_add(static_cast<guint>(wait), &GLibTimer::fire, this);
  }
  ~GLibTimer() override {
    if (source_ != 0) g_source_remove(source_);
  }
  GLibTimer(const GLibTimer&) = delete;
  GLibTimer& operator=(const GLibTimer&) = delete;

 private:
  static gboolean fire(gpointer data) {
    auto* timer = static_cast<GLibTimer*>(data);
    timer->source_ = 0;
    // The task may let go of this timer.
    const std::function<void()> task = std::move(timer->task_);
    task();
    return G_SOURCE_REMOVE;
  }

  std::function<void()> task_;
  guint source_ = 0;
};

}  // namespace

std::unique_ptr<Timer> GLibTimers::after(std::chrono::milliseconds delay,
                                         std::function<void()> task) {
  return std::make_unique<GLibTimer>(delay, std::move(task));
}

}  // namespace kelpie::agent
