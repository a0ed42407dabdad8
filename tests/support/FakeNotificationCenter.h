#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/DistributedNotificationCenter.h"
#include "platform/SerialQueue.h"
#include "support/EventLog.h"

namespace kelpie {

// A session with this process and the test in it. Writes "notifications.observe NAME",
// "notifications.unobserve NAME" and "notifications.post NAME OBJECT".
class FakeNotificationCenter final : public DistributedNotificationCenter {
 public:
  struct Notification {
    std::string name;
    std::string object;
  };

  // Handlers run in tasks of `mainQueue`.
  FakeNotificationCenter(EventLog& events, std::shared_ptr<SerialQueue> mainQueue);
  ~FakeNotificationCenter() override;

  // Posts as another process. Any thread.
  void deliver(std::string_view name, std::string_view object);
  // What this process has posted; it reaches the process's own observers as well.
  std::vector<Notification> posted() const;
  // How many observers there are at present.
  std::size_t observers() const;

  std::unique_ptr<NotificationObservation> addObserver(
      std::string_view name, std::function<void(const std::string& object)> handler) override;
  void post(std::string_view name, std::string_view object) override;

 private:
  class Observation;
  struct State;

  std::shared_ptr<State> state_;  // shared with observations and tasks
};

}  // namespace kelpie
