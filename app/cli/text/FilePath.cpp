#include "cli/text/FilePath.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "foundation/URL.h"

namespace kelpie::cli {

namespace fs = std::filesystem;

FilePath::Place FilePath::locate(const std::string& operand) {
  std::error_code error;
  if (fs::is_directory(operand, error)) {
    const fs::path folder = fs::canonical(operand, error);
    if (!error) return {folder.string(), true, true};
  }
  const std::string path = spelled(operand);
  const bool exists = fs::symlink_status(path, error).type() != fs::file_type::not_found && !error;
  return {path, exists, false};
}

std::string FilePath::spelled(const std::string& operand) {
  std::error_code error;
  fs::path item = fs::absolute(operand, error);
  // "name/" names the same item as "name".
  if (!item.has_filename()) item = item.parent_path();
  const fs::path parent = fs::weakly_canonical(item.parent_path(), error);
  return error ? item.lexically_normal().string() : join(parent.string(), item.filename().string());
}

std::string FilePath::targetOf(const std::string& operand) {
  std::error_code error;
  fs::path item = spelled(operand);
  // weakly_canonical() stops at a link that leads nowhere.
  for (int links = 0; links < 40 && fs::is_symlink(fs::symlink_status(item, error)); ++links) {
    const fs::path next = fs::read_symlink(item, error);
    if (error) break;
    item = spelled(next.is_absolute() ? next.string() : (item.parent_path() / next).string());
  }
  return item.string();
}

std::optional<std::vector<std::string>> FilePath::namesIn(const std::string& folder) {
  std::error_code error;
  std::vector<std::string> names;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator() && names.size() < kMaximumItems;
       entry.increment(error))
    names.push_back(entry->path().filename().string());
  if (error) return std::nullopt;
  std::ranges::sort(names);
  return names;
}

std::string FilePath::join(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (!path.ends_with('/')) path += '/';
  path += name;
  return path;
}

std::string FilePath::parentOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos || slash == 0) return "/";
  return std::string(path.substr(0, slash));
}

bool FilePath::isWithin(std::string_view path, std::string_view folder) {
  if (folder == "/" || path == folder) return true;
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

std::string FilePath::placeholderOf(const std::string& path) {
  return path + " \x0E.kelpieDeleted";
}

std::string FilePath::existingFolderAbove(const std::string& path) {
  std::error_code error;
  std::string folder = parentOf(path);
  while (folder != "/" && !fs::is_directory(folder, error)) folder = parentOf(folder);
  return folder;
}

std::string FilePath::urlOf(const std::string& path, bool isFolder) {
  return URL::fileURLWithPath(path, isFolder).absoluteString();
}

}  // namespace kelpie::cli
