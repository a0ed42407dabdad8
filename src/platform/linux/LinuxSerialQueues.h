#pragma once

#include <memory>
#include <string_view>

#include "linux/base/MainLoop.h"
#include "linux/base/ThreadPool.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// The main loop's queue, and queues on one pool of threads. Any thread.
class LinuxSerialQueues final : public SerialQueues {
 public:
  // Both outlive this.
  LinuxSerialQueues(MainLoop& loop, ThreadPool& pool) : loop_(loop), pool_(pool) {}

  std::shared_ptr<SerialQueue> mainQueue() override { return loop_.queue(); }
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label) override {
    return pool_.makeQueue(label);
  }

 private:
  MainLoop& loop_;
  ThreadPool& pool_;
};

}  // namespace kelpie
