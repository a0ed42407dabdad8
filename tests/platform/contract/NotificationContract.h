#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/DistributedNotificationCenter.h"

namespace kelpie {

// A session of notifications with another process in it. Main thread.
class NotificationWorld {
 public:
  virtual ~NotificationWorld() = default;
  virtual DistributedNotificationCenter& center() = 0;
  virtual void postFromOutside(std::string_view name, std::string_view object) = 0;
  // Lets notifications be delivered until the condition holds; false when it does not.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class NotificationContract
    : public testing::TestWithParam<std::unique_ptr<NotificationWorld> (*)()> {
 protected:
  // Notes what comes as "NAME OBJECT".
  std::unique_ptr<NotificationObservation> observe(const std::string& name) {
    return world->center().addObserver(
        name, [this, name](const std::string& object) { heard.push_back(name + " " + object); });
  }
  bool hears(std::size_t count) {
    return world->runUntil([&] { return heard.size() >= count; });
  }

  const std::unique_ptr<NotificationWorld> world = GetParam()();
  std::vector<std::string> heard;
};

}  // namespace kelpie
