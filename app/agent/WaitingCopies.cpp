#include "agent/WaitingCopies.h"

#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

namespace kelpie::agent {
namespace {

// Among the copies of this application only. The object is the process id.
constexpr std::string_view kWaitingNotification = "KPApplicationWaiting";

}  // namespace

WaitingCopies::WaitingCopies(DistributedNotificationCenter& notifications,
                             ProcessMonitors& monitors, std::int32_t own,
                             std::function<void()> ended)
    : notifications_(notifications),
      monitors_(monitors),
      own_(own),
      ended_(std::move(ended)),
      observation_(notifications.addObserver(kWaitingNotification,
                                             [this](const std::string& pid) { waiting(pid); })) {}

WaitingCopies::~WaitingCopies() {
  for (const auto& [pid, monitor] : copies_) monitor->cancel();
}

void WaitingCopies::sayWaiting() {
  thread_.check();
  notifications_.post(kWaitingNotification, std::to_string(own_));
}

void WaitingCopies::waiting(const std::string& text) {
  thread_.check();
  std::int32_t pid = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), pid);
  if (error != std::errc() || end != text.data() + text.size() || pid < 1) return;
  if (pid == own_) return;
  if (copies_.contains(pid) || copies_.size() >= kMaximum) return;
  const std::shared_ptr<ProcessMonitor> monitor = monitors_.makeMonitor(pid);
  copies_.emplace(pid, monitor);
  monitor->setEventHandler([this, pid] {
    const auto ended = copies_.extract(pid);
    if (ended.empty()) return;
    ended.mapped()->cancel();
    ended_();
  });
  monitor->resume();
}

}  // namespace kelpie::agent
