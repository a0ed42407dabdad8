#include "common/AskedPaths.h"

#include <filesystem>
#include <system_error>

#include "linux/hostclient/ViewedItems.h"

namespace kelpie::filemanagers {

std::string AskedPaths::ofItem(const std::string& path) {
  const std::string folder(ViewedItems::folderOf(path));
  if (folder.empty()) return path;
  const std::string& resolved = ofFolder(folder);
  if (resolved == folder) return path;
  std::string_view name = path;
  name.remove_prefix(path.rfind('/') + 1);
  std::string asked = resolved;
  if (asked != "/") asked += '/';
  return asked.append(name);
}

const std::string& AskedPaths::ofFolder(const std::string& folder) {
  const auto found = folders_.find(folder);
  if (found != folders_.end()) return found->second;
  if (folders_.size() >= kMaximumFolders) folders_.clear();
  return folders_.emplace(folder, resolver_(folder).value_or(folder)).first->second;
}

std::optional<std::string> AskedPaths::realFolder(const std::string& folder) {
  std::error_code error;
  const std::filesystem::path place = std::filesystem::canonical(folder, error);
  if (error) return std::nullopt;
  return place.string();
}

}  // namespace kelpie::filemanagers
