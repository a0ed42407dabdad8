#include "agent/git/IndexFolders.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string_view>

namespace kelpie::agent {
namespace {

bool isSame(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// No working copy has tracked folders inside so many others. An index may name such paths all the
// same, and a list of all folders of a path takes memory with the square of their number.
constexpr std::size_t kMostFoldersDeep = 128;

// The path without what lies deeper in it than the deepest folder.
std::string_view withoutDepths(std::string_view path) {
  std::size_t end = 0;
  for (std::size_t depth = 0; depth < kMostFoldersDeep; ++depth) {
    end = path.find('/', end);
    if (end == std::string_view::npos) return path;
    ++end;
  }
  return path.substr(0, end);
}

// The folders above the file, from the innermost outwards, up to the first that is there already.
void addFoldersAbove(std::string_view file, std::set<std::string, std::less<>>& folders) {
  file = withoutDepths(file);
  for (std::size_t slash = file.rfind('/'); slash != std::string_view::npos && slash > 0;
       slash = file.rfind('/')) {
    file = file.substr(0, slash);
    if (!folders.emplace(file).second) return;
  }
}

}  // namespace

std::optional<std::vector<std::string>> IndexFolders::readIfChanged(GCancellable* cancellable) {
  struct stat now = {};
  if (stat(index_.c_str(), &now) != 0 || isSame(now, last_)) return std::nullopt;
  const ProgramResult listed = git_.ask({"ls-files", "-z"}, {}, cancellable);
  if (!listed.succeeded()) return std::nullopt;
  last_ = now;
  std::set<std::string, std::less<>> relative;
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::size_t end = rest.find('\0');
    addFoldersAbove(rest.substr(0, end), relative);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  std::vector<std::string> folders = {root_};
  folders.reserve(relative.size() + 1);
  for (const std::string& folder : relative) folders.push_back(root_ + "/" + folder);
  return folders;
}

}  // namespace kelpie::agent
