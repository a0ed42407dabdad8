#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelpie {

// What one host has on screen: the folders in view, and the items whose badges it wants, with the
// badge of each as far as it came. An item is kept until its folder is hidden; items of folders
// that are not in view are kept up to a limit, the oldest forgotten first. Paths are absolute and
// bytes. One thread.
class ViewedItems {
 public:
  // Less than the extension remembers for a host (100,000), so that the extension still reports
  // changes of every badge that is kept here.
  static constexpr std::size_t kMaximumUnshown = 50'000;

  struct Item {
    bool isFolder = false;
    bool isAsked = false;              // on this connection
    std::optional<std::string> badge;  // the identifier; absent until one comes
    std::uint64_t order = 0;           // of its entry in unshown_; 0 while its folder is in view
  };

  explicit ViewedItems(std::size_t maximumUnshown = kMaximumUnshown)
      : maximumUnshown_(maximumUnshown) {}

  // The folder is shown (once more). True for the first time.
  bool show(const std::string& folder);
  // One window less shows the folder. True when it leaves the view; its items are forgotten then.
  bool hide(const std::string& folder);
  // The folders in view, in no order.
  std::vector<std::string> folders() const;

  // The item, which is kept from now on. The reference holds until the next call.
  Item& want(const std::string& path, bool isFolder);
  // The item; null when it is not kept.
  Item* find(std::string_view path);
  const Item* find(std::string_view path) const;
  // Every item that is kept, in no order.
  std::vector<std::string> paths() const;
  std::size_t size() const { return items_.size(); }

  // The connection has ended: no badge is known any more, and no question is open. Returns the
  // items that had a badge.
  std::vector<std::string> forgetBadges();

  // The folder of a path, by its text; that of the root is "".
  static std::string_view folderOf(std::string_view path);

 private:
  struct Order {
    std::uint64_t number;
    std::string path;
  };
  void forgetOldest();

  std::size_t maximumUnshown_;
  std::unordered_map<std::string, std::size_t> shown_;  // folder -> how often
  std::unordered_map<std::string, Item> items_;         // by path
  std::unordered_map<std::string, std::vector<std::string>> pathsOfFolder_;
  std::deque<Order> unshown_;  // oldest first; stale where the number is not the item's
  std::size_t unshownCount_ = 0;
  std::uint64_t nextNumber_ = 1;
};

}  // namespace kelpie
