#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/watch/DirectoryWatcher.h"
#include "linux/base/EventLoop.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// Watches files anywhere that influence a status. A file that does not exist is watched for; of a
// link, both the link and its target are watched. Main thread; files are looked for on a queue.
class SettingsWatch {
 public:
  struct Callbacks {
    // Returns the files to watch, absolute; called at first and after each change, on the queue.
    std::function<std::vector<std::string>()> files;
    // Called soon after a change, once; and once more when the change has led to places that were
    // not watched before.
    std::function<void()> changed;
    // The files are watched from now on; what happened to them before went unseen. May be empty.
    std::function<void()> watching = {};
  };

  // All outlive this.
  SettingsWatch(EventLoop& loop, SerialQueues& queues, DirectoryWatcher& names,
                Callbacks callbacks);
  ~SettingsWatch();
  SettingsWatch(const SettingsWatch&) = delete;
  SettingsWatch& operator=(const SettingsWatch&) = delete;

 private:
  // A folder, and the name in it that counts.
  using Places = std::set<std::pair<std::string, std::string>>;

  void happened(const DirectoryWatcher::Event& event);
  void find();
  // Any thread.
  static Places watchAll(const std::vector<std::string>& files, DirectoryWatcher& names,
                         DirectoryWatcher::Client client);

  EventLoop& loop_;
  DirectoryWatcher& names_;
  const Callbacks callbacks_;
  DirectoryWatcher::Client client_;
  std::shared_ptr<SerialQueue> queue_;
  Places places_;
  bool isWatching_ = false;
  std::unique_ptr<EventLoop::Timer> timer_;
  // Tasks check it to see whether this still exists.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace kelpie::agent
