#include "platform/macos/MacSerialQueues.h"

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include <string>
#include <utility>

#include "platform/macos/Guard.h"

namespace kelpie {
namespace {

// The address is the key under which a queue knows itself.
const char kQueueKey = 0;

void postTo(dispatch_queue_t queue, std::function<void()> task) {
  const auto shared = std::make_shared<const std::function<void()>>(std::move(task));
  dispatch_async(queue, ^{
    @autoreleasepool {
      runGuarded(*shared);
    }
  });
}

class MainQueue final : public SerialQueue {
 public:
  void post(std::function<void()> task) override {
    postTo(dispatch_get_main_queue(), std::move(task));
  }
  bool isCurrent() const override { return [NSThread isMainThread]; }
};

class DispatchQueue final : public SerialQueue {
 public:
  explicit DispatchQueue(const std::string& label)
      : queue_(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)) {
    dispatch_queue_set_specific(queue_, &kQueueKey, queue_, nullptr);
  }
  // What was posted still runs: a queue lives until it is empty.
  ~DispatchQueue() override { dispatch_release(queue_); }
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  void post(std::function<void()> task) override { postTo(queue_, std::move(task)); }
  bool isCurrent() const override { return dispatch_get_specific(&kQueueKey) == queue_; }

 private:
  const dispatch_queue_t queue_;
};

}  // namespace

std::shared_ptr<SerialQueue> MacSerialQueues::mainQueue() { return std::make_shared<MainQueue>(); }

std::shared_ptr<SerialQueue> MacSerialQueues::makeQueue(std::string_view label) {
  return std::make_shared<DispatchQueue>(std::string(label));
}

}  // namespace kelpie
