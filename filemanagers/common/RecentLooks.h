#pragma once

#include <deque>
#include <functional>
#include <string>

#include "common/FileManagerSession.h"
#include "common/RecentItems.h"

namespace kelpie::filemanagers {

// How items look, for a file manager that asks by path, says no more of an item than that, and
// never tells when it needs one no more. The file system is asked about items in observed folders
// only. One thread.
class RecentLooks {
 public:
  using FolderTest = std::function<bool(const std::string& path)>;

  // `session` outlives this.
  explicit RecentLooks(FileManagerSession& session, FolderTest isFolder = isRealFolder)
      : session_(session), isFolder_(std::move(isFolder)) {}
  RecentLooks(const RecentLooks&) = delete;
  RecentLooks& operator=(const RecentLooks&) = delete;

  // The file manager draws the item: how it looks, as far as that is known. Its folder counts as in
  // view.
  FileManagerSession::Look show(const std::string& path);
  // Other folders are observed than before: each item is due once more.
  void foldersChanged();
  // Hands an item that may look otherwise than it was shown to `again`, which may call show(); one
  // call handles one item at most, so that the caller can stop in time. False when none is left.
  bool showNext(const std::function<void(const std::string& path)>& again);

  std::size_t size() const { return items_.size(); }

  // Asks the file system: a link to a folder is none.
  static bool isRealFolder(const std::string& path);

 private:
  bool isObserved(const std::string& path);

  FileManagerSession& session_;
  FolderTest isFolder_;
  RecentItems items_{[this](RecentItems::Token token) { session_.forget(token); }};
  std::deque<std::string> due_;  // since other folders are observed
};

}  // namespace kelpie::filemanagers
