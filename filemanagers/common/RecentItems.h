#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <unordered_map>

#include "common/TrackedItems.h"

namespace kelpie::filemanagers {

// The items that a file manager has asked about which never tells when it needs one no more: those
// of the folders that it has asked in last, up to a limit. One thread.
class RecentItems {
 public:
  using Token = TrackedItems::Token;

  static constexpr std::size_t kMaximumFolders = 64;
  static constexpr std::size_t kMaximumItems = 20'000;

  // `onForgotten` is told of each item that is over the limit, while its token is valid still.
  explicit RecentItems(std::function<void(Token token)> onForgotten,
                       std::size_t maximumFolders = kMaximumFolders,
                       std::size_t maximumItems = kMaximumItems)
      : onForgotten_(std::move(onForgotten)),
        maximumFolders_(maximumFolders),
        maximumItems_(maximumItems) {}
  RecentItems(const RecentItems&) = delete;
  RecentItems& operator=(const RecentItems&) = delete;

  // What stands for the item from now on. It is never forgotten by this call itself.
  Token use(const std::string& path);
  // Of a token that has not been forgotten.
  static const std::string& pathOf(Token token) { return static_cast<const Item*>(token)->path; }
  // Calls `call` with the path of each.
  void forEach(const std::function<void(const std::string& path)>& call) const;

  std::size_t size() const { return items_.size(); }
  std::size_t folders() const { return folders_.size(); }

 private:
  struct Folder;
  struct Item {
    std::string path;
    std::list<Folder>::iterator folder;
    std::list<Item*>::iterator place;  // in its folder
  };
  struct Folder {
    std::string path;
    std::list<Item*> items;  // the one that was asked about last first
  };

  std::list<Folder>::iterator folderOf(const std::string& path);
  void keepLimits();
  void forgetLast(Folder& folder);

  std::function<void(Token token)> onForgotten_;
  std::size_t maximumFolders_;
  std::size_t maximumItems_;
  std::unordered_map<std::string, Item> items_;
  std::list<Folder> folders_;  // the one that was asked in last first
  std::unordered_map<std::string, std::list<Folder>::iterator> foldersByPath_;
};

}  // namespace kelpie::filemanagers
