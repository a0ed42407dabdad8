#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <unordered_map>

namespace kelpie::filemanagers {

// The folders in view of a file manager that tells when it goes to a folder but not when it leaves
// one. A folder stays in view while the file manager keeps an object of an item in it, and for as
// long as it is among the last that were visited. One thread.
class VisitedFolders {
 public:
  // So many folders without an item are taken to be in view.
  static constexpr std::size_t kMaximumEmpty = 4;

  struct Handlers {
    std::function<void(const std::string& folder)> onEnter;
    std::function<void(const std::string& folder)> onLeave;
  };

  explicit VisitedFolders(Handlers handlers) : handlers_(std::move(handlers)) {}

  // The file manager has gone to the folder.
  void visit(const std::string& folder);
  // It has an object more of an item in the folder, one less.
  void addItem(const std::string& folder) { ++items_[folder]; }
  void removeItem(const std::string& folder);

 private:
  void leaveOldest();

  Handlers handlers_;
  std::list<std::string> visited_;  // the last one first
  std::unordered_map<std::string, std::size_t> items_;
};

}  // namespace kelpie::filemanagers
