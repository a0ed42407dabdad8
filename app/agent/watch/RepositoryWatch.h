#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"
#include "agent/watch/DirectoryWatcher.h"
#include "agent/watch/WorkingCopyWatch.h"
#include "foundation/ThreadBound.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// Watches one working copy: what git keeps of it, and every folder of it that is not ignored. Main
// thread; folders are walked through on a queue of their own.
class RepositoryWatch final : public WorkingCopyWatch {
 public:
  RepositoryWatch(DirectoryWatcher& watcher, WorkingCopy workingCopy,
                  std::shared_ptr<SerialQueue> main, std::shared_ptr<SerialQueue> walks,
                  Callbacks callbacks);
  ~RepositoryWatch() override;
  RepositoryWatch(const RepositoryWatch&) = delete;
  RepositoryWatch& operator=(const RepositoryWatch&) = delete;

  void follow(const StatusSnapshot& status,
              const std::optional<std::vector<std::string>>& trackedFolders) override;
  void followReferences() override;
  void setModest(bool modest) override { watcher_.setModest(client_, modest); }
  bool isComplete() const override { return !limitReached_ && failedWalks_ == 0; }

 private:
  // What the walking queue is to watch, and the result.
  struct Walk {
    bool git = false;
    std::vector<std::string> trees;
    std::vector<std::string> folders;
  };
  struct Walked {
    bool gitAdded = false;
    // Those of the trees and folders in which something was not watched before.
    std::vector<std::string> added;
    // Trees in which something could not be read, of git's folders: whether there are any.
    std::vector<std::string> unread;
    bool gitUnread = false;
    bool limitReached = false;
  };

  void happened(const DirectoryWatcher::Event& event);
  // The watched folder itself is gone.
  void folderGone(const std::string& folder);
  void inGit(const DirectoryWatcher::Event& event);
  void inWorkingCopy(const DirectoryWatcher::Event& event);
  void folderHappened(const DirectoryWatcher::Event& event, const std::string& path);
  void setOpaque(const StatusSnapshot& status, Walk& walk);
  void start(Walk walk);
  void finished(const Walked& walked);
  // Has what could not be read walked once more.
  void walkAgain(const Walked& walked);

  DirectoryWatcher& watcher_;
  const WorkingCopy workingCopy_;
  std::shared_ptr<SerialQueue> main_;
  std::shared_ptr<SerialQueue> walks_;
  Callbacks callbacks_;
  DirectoryWatcher::Client client_;

  std::set<std::string, std::less<>> opaque_;  // absolute
  // Trees to walk after the next status, which tells what in them is ignored.
  std::set<std::string, std::less<>> pending_;
  bool gitPending_ = true;  // the git directories are to be walked, too
  bool limitReached_ = false;
  int failedWalks_ = 0;  // in a row
  // Tasks check it to see whether this still exists.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  ThreadBound thread_;
};

}  // namespace kelpie::agent
