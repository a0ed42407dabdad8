#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/watch/DirectoryWatcher.h"

namespace kelpie::agent {

// Watches a folder and all below it, each folder before it is read, so that no new item is missed.
// Links are not followed; ".git" is left out, and of a submodule the git directory is watched as
// well. Any thread; blocks while the file system answers.
class TreeWatching {
 public:
  // `opaque`: folders (absolute) that git treats as one item; what lies in them is left out.
  TreeWatching(DirectoryWatcher& watcher, DirectoryWatcher::Client client,
               std::set<std::string, std::less<>> opaque)
      : watcher_(watcher), client_(client), opaque_(std::move(opaque)) {}

  // The folder and all below it.
  void watchTree(const std::string& folder);
  // The folder alone.
  void watchFolder(const std::string& folder);

  // Folders that were not watched before.
  std::size_t added() const { return added_; }
  // There are folders that could not be watched.
  bool limitReached() const { return limitReached_; }
  // Folders that are there, but could not be read: what is in them is not watched.
  std::size_t unread() const { return unread_; }

 private:
  bool watch(const std::string& folder);
  void read(const std::string& folder, bool isStart);
  void watchSubmodule(const std::string& folder);

  DirectoryWatcher& watcher_;
  DirectoryWatcher::Client client_;
  std::set<std::string, std::less<>> opaque_;
  std::vector<std::string> todo_;
  std::size_t added_ = 0;
  bool limitReached_ = false;
  std::size_t unread_ = 0;
};

}  // namespace kelpie::agent
