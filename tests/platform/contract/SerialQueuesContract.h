#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "platform/SerialQueue.h"

namespace kelpie {

// Queues, and what makes them run. Main thread.
class SerialQueuesWorld {
 public:
  virtual ~SerialQueuesWorld() = default;
  virtual SerialQueues& queues() = 0;
  // Lets the queues run until the condition holds; false when it does not.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class SerialQueuesContract
    : public testing::TestWithParam<std::unique_ptr<SerialQueuesWorld> (*)()> {
 protected:
  const std::unique_ptr<SerialQueuesWorld> world = GetParam()();
};

}  // namespace kelpie
