#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "foundation/URL.h"

namespace kelpie {

// What one host has asked badges for, each item in that host's own spelling of its URL, and which
// folders it shows. An item is remembered until the host stops showing its folder; items of folders
// that it does not show are remembered as long as the connection, up to a limit, the oldest
// forgotten first. Items and folders are known by their paths (bytes). Main thread.
class AskedItems {
 public:
  static constexpr std::size_t kMaximumUnshown = 100'000;

  explicit AskedItems(std::size_t maximumUnshown = kMaximumUnshown)
      : maximumUnshown_(maximumUnshown) {}

  // The host shows the folder (once more). True for the first time.
  bool show(const URL& folder);
  // One window less of the host shows the folder. True when the host no longer shows it; its items
  // are forgotten then. False also for a folder that it does not show.
  bool hide(const std::string& folder);
  bool shows(std::string_view folder) const { return shown_.contains(folder); }
  // Every folder shown, once each, as the host spelled it first.
  std::vector<URL> shown() const;

  // The host asked for a badge of the item, as it is spelled here.
  void ask(const URL& item);
  // The badge is set for the item. The spelling in which the host is to be told of it: its own, or
  // that of `item` when it has not asked, or the item was forgotten, but it shows the folder.
  // Absent when the host is not to be told: of what it does not see, and of a badge that it was
  // told last and has not asked for since (the main application says a whole status again and
  // again, in which little is new). Borrowed until the next call.
  std::optional<std::string_view> spellingToTell(const URL& item, const std::string& badge);

 private:
  struct Shown {
    URL url;  // as the host spelled it first
    std::size_t count = 0;
  };
  struct Asked {
    std::string url;
    std::uint64_t order = 0;  // of its newest entry in unshownOrder_; 0 while its folder is shown
    const std::string* told =
        nullptr;  // one of badges_, since it was asked for last; null for none
  };
  struct Order {
    std::uint64_t number;
    std::string path;
  };

  // Looks up parts of paths without copying them.
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  template <class Value>
  using ByPath = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

  // The folder of the path, by its text; "" for the root.
  static std::string_view folderOf(std::string_view path);
  void noteUnshown(const std::string& path, Asked& item);
  bool isStale(const Order& entry) const;
  void forgetOldest();

  std::size_t maximumUnshown_;
  ByPath<Shown> shown_;
  ByPath<ByPath<Asked>> items_;             // folder -> path -> item
  std::unordered_set<std::string> badges_;  // every one told; the extension has a dozen
  // The items of folders that are not shown, oldest first. An entry whose number is not its item's
  // is stale: the item was asked for again, or its folder came into view.
  std::deque<Order> unshownOrder_;
  std::size_t unshown_ = 0;  // entries of unshownOrder_ that are not stale
  std::uint64_t nextNumber_ = 1;
};

}  // namespace kelpie
