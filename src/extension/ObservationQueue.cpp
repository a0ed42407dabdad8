#include "extension/ObservationQueue.h"

#include <utility>
#include <vector>

#include "extension/FolderRegistry.h"
#include "foundation/Mutex.h"

namespace kelpie {

// Requests that wait for their turn on the queue.
class ObservationQueue::Batch {
 public:
  // False when the batch is full or its turn has come.
  bool add(const URL& url) {
    const MutexLock lock(mutex_);
    if (isTaken_ || urls_.size() == kMaximumBatch) return false;
    urls_.push_back(url);
    return true;
  }

  std::vector<URL> take() {
    const MutexLock lock(mutex_);
    isTaken_ = true;
    return std::move(urls_);
  }

 private:
  Mutex mutex_;
  bool isTaken_ KELPIE_GUARDED_BY(mutex_) = false;
  std::vector<URL> urls_ KELPIE_GUARDED_BY(mutex_);
};

ObservationQueue::ObservationQueue(std::shared_ptr<FolderRegistry> registry)
    : registry_(std::move(registry)) {}

void ObservationQueue::post(std::function<void()> work) {
  const MutexLock lock(mutex_);
  batch_ = nullptr;
  registry_->queue()->post(std::move(work));
}

void ObservationQueue::requestBadge(const URL& url) {
  const MutexLock lock(mutex_);
  if (batch_ != nullptr && batch_->add(url)) return;
  batch_ = std::make_shared<Batch>();
  batch_->add(url);
  registry_->queue()->post([batch = batch_, registry = registry_] {
    registry->requestBadgeIdentifiersForURLs(batch->take());
  });
}

}  // namespace kelpie
