#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "foundation/Mutex.h"
#include "foundation/URL.h"
#include "platform/SerialQueue.h"

namespace kelpie {

class FolderRegistry;

// The controller's serial queue for what the file manager observes. Work runs in the order of its
// arrival; badge requests that arrive in a row are worked off together, so that the folders which
// many items share are looked at once. Any thread.
class ObservationQueue {
 public:
  // How many requests are worked off together at most: the others see what has changed meanwhile.
  static constexpr std::size_t kMaximumBatch = 512;

  explicit ObservationQueue(std::shared_ptr<FolderRegistry> registry);

  void post(std::function<void()> work);
  // See FolderRegistry::requestBadgeIdentifiersForURLs().
  void requestBadge(const URL& url);

 private:
  class Batch;

  const std::shared_ptr<FolderRegistry> registry_;
  Mutex mutex_;  // held while posting, so that a batch stays in its place
  // Takes requests until other work is posted.
  std::shared_ptr<Batch> batch_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
