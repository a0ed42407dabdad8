#pragma once

#include <memory>
#include <string_view>

#include "platform/SerialQueue.h"

namespace kelpie {

// Dispatch queues. Any thread.
class MacSerialQueues final : public SerialQueues {
 public:
  std::shared_ptr<SerialQueue> mainQueue() override;
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label) override;
};

}  // namespace kelpie
