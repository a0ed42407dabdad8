#include "support/ManualQueues.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace kelpie {

ManualQueues::ManualQueues(EventLog& events)
    : events_(events), main_(std::make_shared<ManualQueue>("main", order_)), queues_{main_} {}

ManualQueues::~ManualQueues() {
  for (const std::shared_ptr<ManualQueue>& queue : all()) queue->dropAll();
}

std::vector<std::shared_ptr<ManualQueue>> ManualQueues::all() const {
  const MutexLock lock(mutex_);
  return queues_;
}

std::vector<ManualQueue*> ManualQueues::withLabel(std::string_view label) const {
  std::vector<ManualQueue*> found;
  for (const auto& queue : all())
    if (queue->label() == label) found.push_back(queue.get());
  return found;
}

std::size_t ManualQueues::pending() const {
  std::size_t sum = 0;
  for (const auto& queue : all()) sum += queue->pending();
  return sum;
}

void ManualQueues::runAll() {
  constexpr int kLimit = 1'000'000;
  for (int i = 0; i < kLimit; ++i) {
    std::shared_ptr<ManualQueue> oldest;
    std::uint64_t order = std::numeric_limits<std::uint64_t>::max();
    for (const auto& queue : all()) {
      const auto next = queue->nextOrder();
      if (!next || *next >= order) continue;
      order = *next;
      oldest = queue;
    }
    if (oldest == nullptr) return;
    oldest->runOne();
  }
  ADD_FAILURE() << "the queues never run dry";
}

std::shared_ptr<SerialQueue> ManualQueues::makeQueue(std::string_view label) {
  events_.add("queues.make " + std::string(label));
  auto queue = std::make_shared<ManualQueue>(std::string(label), order_);
  const MutexLock lock(mutex_);
  queues_.push_back(queue);
  return queue;
}

}  // namespace kelpie
