#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::cli {

// Paths as the user writes them, and their file URLs. All are bytes. Any thread.
class FilePath {
 public:
  FilePath() = delete;

  struct Place {
    std::string path;       // absolute; without links, except that the item itself may be one
    bool exists = false;    // true for a link that leads nowhere
    bool isFolder = false;  // or a link to one; then `path` is that of the folder
  };

  // An operand of the command line, looked up.
  static Place locate(const std::string& operand);
  // The absolute path of an operand, without links above the item itself, which need not exist.
  static std::string spelled(const std::string& operand);
  // The same with every link followed as far as it leads.
  static std::string targetOf(const std::string& operand);
  // The names in a folder, sorted by bytes, without "." and ".."; absent when it cannot be read. At
  // most kMaximumItems, the rest is left out.
  static constexpr std::size_t kMaximumItems = 1'000'000;
  static std::optional<std::vector<std::string>> namesIn(const std::string& folder);
  // `folder`/`name`.
  static std::string join(std::string_view folder, std::string_view name);
  // The folder that holds the item; the root holds itself.
  static std::string parentOf(std::string_view path);
  // Whether `path` is the folder or lies in it, by the spelling alone.
  static bool isWithin(std::string_view path, std::string_view folder);

  // The path that stands for a deleted item in badges and menus.
  static std::string placeholderOf(const std::string& path);
  // The nearest folder above the item that exists.
  static std::string existingFolderAbove(const std::string& path);

  // The file URL of an absolute path.
  static std::string urlOf(const std::string& path, bool isFolder);
};

}  // namespace kelpie::cli
