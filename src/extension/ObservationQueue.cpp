#include "extension/ObservationQueue.h"

#include <utility>
#include <vector>

#include "extension/FolderRegistry.h"

namespace kelpie {

// Requests that wait for their turn on the queue.
class ObservationQueue::Batch {
 public:
  // False when the batch is full or its turn has come.
  bool add(const URL& url) {
    const std::lock_guard lock(mutex_);
    if (isTaken_ || urls_.size() == kMaximumBatch) {
      return false;
    }
    urls_.push_back(url);
    return true;
  }

  std::vector<URL> take() {
    const std::lock_guard lock(mutex_);
    isTaken_ = true;
    return std::move(urls_);
  }

 private:
  std::mutex mutex_;
  bool isTaken_ = false;   // guarded by mutex_
  std::vector<URL> urls_;  // guarded by mutex_
};

ObservationQueue::ObservationQueue(std::shared_ptr<SerialQueue> queue,
                                   std::shared_ptr<FolderRegistry> registry)
    : queue_(std::move(queue)), registry_(std::move(registry)) {}

void ObservationQueue::post(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  batch_ = nullptr;
  queue_->post(std::move(work));
}

void ObservationQueue::requestBadge(const URL& url) {
  const std::lock_guard lock(mutex_);
  if (batch_ != nullptr && batch_->add(url)) {
    return;
  }
  batch_ = std::make_shared<Batch>();
  batch_->add(url);
  queue_->post([batch = batch_, registry = registry_] {
    registry->requestBadgeIdentifiersForURLs(batch->take());
  });
}

}  // namespace kelpie
