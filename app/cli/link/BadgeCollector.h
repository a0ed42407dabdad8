#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/link/ExtensionSession.h"
#include "foundation/ThreadBound.h"

namespace kelpie::cli {

// Shows folders to the extension and gathers the badges of items, as the window of a file manager
// does. Leaves the folders when it goes. Main thread.
class BadgeCollector {
 public:
  // How long it listens for another answer after the last one: a folder's badge depends on those of
  // its files, and follows them.
  static constexpr std::chrono::milliseconds kSettling{200};
  // The same when a working copy was opened meanwhile: its items look unchanged until its status
  // has come.
  static constexpr std::chrono::milliseconds kOpening{1000};
  // How long it waits before it asks again about items that have no badge; from then on, twice as
  // long each time.
  static constexpr std::chrono::milliseconds kFirstPause{200};

  // The most items that it keeps account of; further ones are left out.
  static constexpr std::size_t kMaximumItems = 1'100'000;

  // `session` outlives it.
  explicit BadgeCollector(ExtensionSession& session);
  ~BadgeCollector();
  BadgeCollector(const BadgeCollector&) = delete;
  BadgeCollector& operator=(const BadgeCollector&) = delete;

  // The folder comes into view. `path` is absolute, as everywhere here.
  void showFolder(const std::string& path);
  // The item's badge is wanted; the question goes out with the next ask() or settle(). An item that
  // is wanted again is asked about once.
  void want(const std::string& path, bool isFolder);
  // Sends the questions that have gathered, and waits until each wanted item has a badge and none
  // changes any more; or until there was no news for `wait`, and for ten times that at the most.
  // Asks again meanwhile. False when the connection has ended.
  bool settle(std::chrono::milliseconds wait);
  // Sends the questions that have gathered. False when the connection has ended.
  bool ask();
  // Asks again about the items that have no badge: of the questions from before the working copy
  // was open, the extension remembers only those about the topmost folder. False when the
  // connection has ended.
  bool askAgain();
  // A badge that came or changed.
  struct Change {
    std::string path;
    std::string badge;  // the identifier; empty when it is known no more
  };
  // The changes of wanted items since the last call, in order. Of several badges of an item in one
  // line of the extension, the last counts.
  std::vector<Change> takeChanges();

  // Whether items are wanted, and none of them has got a badge.
  bool isWithoutAnswer() const { return !answered_.empty() && unanswered_ == answered_.size(); }
  // The identifier of the item's badge; absent when none came.
  std::optional<std::string> badge(std::string_view path) const;

 private:
  void note(const std::vector<std::string>& paths);

  ExtensionSession& session_;
  std::vector<std::string> shown_;
  std::map<std::string, bool, std::less<>> answered_;  // wanted items: whether a badge came
  std::size_t unanswered_ = 0;
  std::vector<Change> changes_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
