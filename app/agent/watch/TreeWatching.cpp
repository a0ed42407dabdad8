#include "agent/watch/TreeWatching.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "linux/base/RegularFile.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool isFolder(const std::string& path, unsigned char type) {
  if (type != DT_UNKNOWN) return type == DT_DIR;
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The git directory of a submodule: its ".git", or what that file names. Empty when it names
// nothing.
std::string gitDirectoryOf(const std::string& submodule) {
  const fs::path entry = fs::path(submodule) / ".git";
  std::error_code error;
  if (fs::is_directory(entry, error)) return entry.string();
  constexpr std::string_view kMark = "gitdir: ";
  constexpr std::size_t kLongest = 8192;
  std::string line = RegularFile::read(entry.string(), kLongest).value_or(std::string());
  line.resize(std::min(line.find('\n'), line.size()));
  if (!line.starts_with(kMark)) return {};
  const fs::path named = fs::path(submodule) / line.substr(kMark.size());
  const fs::path found = fs::weakly_canonical(named, error);
  return error ? std::string() : found.string();
}

}  // namespace

bool TreeWatching::watch(const std::string& folder) {
  switch (watcher_.add(client_, folder)) {
    case DirectoryWatcher::Outcome::Watched:
      ++added_;
      return true;
    case DirectoryWatcher::Outcome::WatchedBefore:
      return true;
    case DirectoryWatcher::Outcome::LimitReached:
      limitReached_ = true;
      return false;
    case DirectoryWatcher::Outcome::NotThere:
      break;
  }
  return false;
}

void TreeWatching::watchFolder(const std::string& folder) { watch(folder); }

void TreeWatching::watchTree(const std::string& folder) {
  if (opaque_.contains(folder)) return;
  todo_.push_back(folder);
  for (bool isStart = true; !todo_.empty() && !limitReached_; isStart = false) {
    const std::string next = std::move(todo_.back());
    todo_.pop_back();
    if (watch(next)) read(next, isStart);
  }
  todo_.clear();
}

void TreeWatching::read(const std::string& folder, bool isStart) {
  const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
  if (!open) {
    // One that is gone tells by itself. One that the user may not read is not watched, so that
    // nobody comes here for it.
    if (errno != ENOENT && errno != ENOTDIR) ++unread_;
    return;
  }
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(open.get());
    if (entry == nullptr) break;
    const std::string_view name = static_cast<const char*>(entry->d_name);
    if (name == "." || name == "..") continue;
    if (name == ".git") {
      if (!isStart) watchSubmodule(folder);
      continue;
    }
    std::string path = folder == "/" ? folder : folder + "/";
    path += name;
    if (isFolder(path, entry->d_type) && !opaque_.contains(path)) todo_.push_back(std::move(path));
  }
  if (errno != 0) ++unread_;
}

void TreeWatching::watchSubmodule(const std::string& folder) {
  const std::string git = gitDirectoryOf(folder);
  if (git.empty()) return;
  watch(git);
  // A commit on a branch leaves HEAD as it is, but is logged.
  watch(git + "/logs");
}

}  // namespace kelpie::agent
