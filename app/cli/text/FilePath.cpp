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
  fs::path item = fs::absolute(operand, error);
  // "name/" names the same item as "name".
  if (!item.has_filename()) item = item.parent_path();
  const fs::path parent = fs::weakly_canonical(item.parent_path(), error);
  const std::string path =
      error ? item.lexically_normal().string() : join(parent.string(), item.filename().string());
  const bool exists = fs::symlink_status(path, error).type() != fs::file_type::not_found && !error;
  return {path, exists, false};
}

std::optional<std::vector<std::string>> FilePath::namesIn(const std::string& folder) {
  std::error_code error;
  std::vector<std::string> names;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator() && names.size() < kMaximumItems;
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
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

std::string FilePath::urlOf(const std::string& path, bool isFolder) {
  return URL::fileURLWithPath(path, isFolder).absoluteString();
}

}  // namespace kelpie::cli
