#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace kelpie {

// An observer's registration; letting it go ends it.
class NotificationObservation {
 public:
  virtual ~NotificationObservation() = default;
};

// Named notifications between the processes of one user session.
class DistributedNotificationCenter {
 public:
  virtual ~DistributedNotificationCenter() = default;
  // Main thread; `handler` runs there, from any object that posts `name`.
  virtual std::unique_ptr<NotificationObservation> addObserver(
      std::string_view name, std::function<void(const std::string& object)> handler) = 0;
  // Any thread. Delivered immediately; a failure is logged.
  virtual void post(std::string_view name, std::string_view object) = 0;
};

}  // namespace kelpie
