#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/watch/DirectoryWatcher.h"
#include "linux/base/MainLoop.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// Watches the files of the user and of the system that have a say in every status: see
// settingsFiles(). A file that is not there is watched for, and of a link both it and what it leads
// to. Main thread; files are looked for on a queue.
class SettingsWatch {
 public:
  // `names` is a watcher that is interested in names. `changed` is called soon after a change,
  // once. All outlive this.
  SettingsWatch(MainLoop& loop, SerialQueues& queues, DirectoryWatcher& names, GitCommand git,
                std::function<void()> changed);
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

  MainLoop& loop_;
  DirectoryWatcher& names_;
  const GitCommand git_;
  const std::function<void()> changed_;
  DirectoryWatcher::Client client_;
  std::shared_ptr<SerialQueue> queue_;
  Places places_;
  std::unique_ptr<MainLoop::Source> timer_;
  // Tasks ask it whether this is still there.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace kelpie::agent
