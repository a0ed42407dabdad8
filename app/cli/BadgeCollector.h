#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/ExtensionSession.h"

namespace kelpie::cli {

// Shows folders to the extension and gathers the badges of items, as the window of a file manager
// does. Leaves the folders when it goes. Main thread.
class BadgeCollector {
 public:
  // An item's badges come one after the other (first that of the file, then that of the folder
  // which depends on it), so that after the last answer it listens this long for another.
  static constexpr std::chrono::milliseconds kSettling{200};
  // It keeps account of so many items; further ones are left out.
  static constexpr std::size_t kMaximumItems = 1'100'000;

  // `session` outlives it.
  explicit BadgeCollector(ExtensionSession& session) : session_(session) {}
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
  // False when the connection has ended.
  bool settle(std::chrono::milliseconds wait);
  // Sends the questions that have gathered. False when the connection has ended.
  bool ask();
  // Takes in a message of the extension. The wanted items whose badges it brings.
  std::vector<std::string> take(const nlohmann::json& message);

  // Whether items are wanted, and none of them has got a badge.
  bool isWithoutAnswer() const { return !badges_.empty() && unanswered_ == badges_.size(); }
  // The identifier of the item's badge; missing when none came.
  std::optional<std::string> badge(std::string_view path) const;

 private:
  ExtensionSession& session_;
  std::vector<std::string> shown_;
  std::map<std::string, std::optional<std::string>, std::less<>> badges_;  // of wanted items
  std::size_t unanswered_ = 0;
  std::vector<std::string> questions_;  // URLs
};

}  // namespace kelpie::cli
