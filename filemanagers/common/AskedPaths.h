#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

namespace kelpie::filemanagers {

// The path that the extension knows an item by. A file manager may have come to it through a
// symbolic link; git and the extension know the item's folder by its own place. The item itself is
// not resolved: a link is an item of its own. What was found is kept, up to a limit. One thread.
class AskedPaths {
 public:
  // The place of a folder without symbolic links; missing when there is no such folder.
  using Resolver = std::function<std::optional<std::string>(const std::string& folder)>;

  static constexpr std::size_t kMaximumFolders = 4'096;

  explicit AskedPaths(Resolver resolver = realFolder) : resolver_(std::move(resolver)) {}

  // Of an item, and of a folder that is shown. The same path when its folder is not there.
  std::string ofItem(const std::string& path);
  const std::string& ofFolder(const std::string& folder);
  // What is known of the folder may be out of date: it is looked at again.
  void forget(const std::string& folder) { folders_.erase(folder); }

  // Asks the file system.
  static std::optional<std::string> realFolder(const std::string& folder);

 private:
  Resolver resolver_;
  std::unordered_map<std::string, std::string> folders_;
};

}  // namespace kelpie::filemanagers
