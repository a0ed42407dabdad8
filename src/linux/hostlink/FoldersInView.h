#pragma once

#include <functional>
#include <memory>
#include <string>

#include "foundation/ThreadBound.h"
#include "foundation/URL.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// The folders in view as what they are, and not only by their paths: while one host still shows
// a folder that is gone, another may show a new one of that name, of which the extension knows
// nothing. Folders are looked at on a queue, since a file system may not answer. Main thread.
class FoldersInView {
 public:
  // `another` is called on the main thread for a folder that is not the one that was in view so
  // far.
  FoldersInView(SerialQueues& queues, std::function<void(const URL& folder)> another);
  ~FoldersInView();
  FoldersInView(const FoldersInView&) = delete;
  FoldersInView& operator=(const FoldersInView&) = delete;

  // The folder comes into view.
  void begin(const URL& folder);
  // One more host shows it.
  void beginOnceMore(const URL& folder);
  // It is out of view.
  void end(const std::string& path);

 private:
  struct Seen;  // used on the queue alone

  std::shared_ptr<SerialQueue> main_;
  std::shared_ptr<SerialQueue> queue_;
  std::shared_ptr<Seen> seen_;
  // Tasks on the main queue check it to see whether this still exists.
  std::shared_ptr<const std::function<void(const URL& folder)>> another_;
  ThreadBound thread_;
};

}  // namespace kelpie
