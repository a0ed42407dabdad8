#include "agent/actions/WorkingFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

namespace kelpie::agent {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// Deeper than any path that the system takes.
constexpr int kMaximumDepth = 2048;

std::string reason() { return std::generic_category().message(errno); }

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

WorkingFiles::Presence presenceOf(const struct stat& found) {
  using Kind = WorkingFiles::Kind;
  WorkingFiles::Presence presence;
  presence.kind = S_ISREG(found.st_mode)   ? Kind::File
                  : S_ISLNK(found.st_mode) ? Kind::Link
                  : S_ISDIR(found.st_mode) ? Kind::Folder
                                           : Kind::Other;
  if (!presence.isContent()) return presence;
  presence.print = {found.st_dev,
                    found.st_ino,
                    static_cast<std::uint64_t>(found.st_size),
                    found.st_mode,
                    nanoseconds(found.st_mtim),
                    nanoseconds(found.st_ctim)};
  return presence;
}

struct CloseWorkingFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseWorkingFolder>;

Folder openFolder(int above, const char* name) {
  const int descriptor = openat(above, name, kFolderFlags);
  if (descriptor < 0) return nullptr;
  Folder folder(fdopendir(descriptor));
  if (folder == nullptr) close(descriptor);
  return folder;
}

bool isSelfOrParent(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// False when there is more than `limit`, or something could not be read.
bool gather(int above, const char* name, const std::string& path, std::size_t limit, int depth,
            std::vector<std::string>& into) {
  const Folder folder = openFolder(above, name);
  if (folder == nullptr || depth > kMaximumDepth) return false;
  while (const dirent* entry = readdir(folder.get())) {
    if (isSelfOrParent(entry->d_name)) continue;
    const std::string below = path + "/" + entry->d_name;
    struct stat found = {};
    if (fstatat(dirfd(folder.get()), entry->d_name, &found, AT_SYMLINK_NOFOLLOW) != 0) return false;
    if (S_ISDIR(found.st_mode)) {
      if (!gather(dirfd(folder.get()), entry->d_name, below, limit, depth + 1, into)) return false;
    } else {
      if (into.size() >= limit) return false;
      into.push_back(below);
    }
  }
  return true;
}

void pruneEmpty(int above, const char* name, int depth) {
  if (depth > kMaximumDepth) return;
  if (const Folder folder = openFolder(above, name))
    while (const dirent* entry = readdir(folder.get()))
      if (!isSelfOrParent(entry->d_name) &&
          (entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN))
        pruneEmpty(dirfd(folder.get()), entry->d_name, depth + 1);
  // Does nothing for a folder that holds something.
  unlinkat(above, name, AT_REMOVEDIR);
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// A name beside the item that nobody else uses.
std::string temporaryName() {
  static thread_local unsigned counter = 0;
  return ".kelpie-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
}

bool isGitDirectoryName(std::string_view name) {
  return name.size() == 4 && strncasecmp(name.data(), ".git", 4) == 0;
}

}  // namespace

WorkingFiles::WorkingFiles(std::string root)
    : root_(std::move(root)), rootFolder_(open(root_.c_str(), kFolderFlags)) {}

WorkingFiles::~WorkingFiles() {
  if (lastFolder_ >= 0) close(lastFolder_);
  if (rootFolder_ >= 0) close(rootFolder_);
}

bool WorkingFiles::isSafe(std::string_view path) {
  if (path.empty() || path.find('\0') != std::string_view::npos) return false;
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::string_view name = path.substr(begin, path.find('/', begin) - begin);
    if (name.empty() || name == "." || name == ".." || isGitDirectoryName(name)) return false;
    begin += name.size() + 1;
  }
  return true;
}

// Without a folder where one of those above is missing (then `blockedBy` is empty) or none.
WorkingFiles::Place WorkingFiles::placeOf(const std::string& path, bool makeFolders) {
  Place place;
  const std::size_t cut = path.rfind('/');
  const std::string above = cut == std::string::npos ? "" : path.substr(0, cut);
  place.name = path.substr(cut == std::string::npos ? 0 : cut + 1);
  if (above.empty()) {
    place.folder = rootFolder_;
    return place;
  }
  // A folder that was replaced meanwhile must not be written to.
  if (lastFolder_ >= 0) close(std::exchange(lastFolder_, -1));
  int folder = dup(rootFolder_);
  for (std::size_t begin = 0; folder >= 0 && begin < above.size();) {
    const std::size_t end = std::min(above.find('/', begin), above.size());
    const std::string name = above.substr(begin, end - begin);
    if (makeFolders) mkdirat(folder, name.c_str(), 0777);
    const int next = openat(folder, name.c_str(), kFolderFlags);
    if (next < 0 && (errno == ENOTDIR || errno == ELOOP)) place.blockedBy = above.substr(0, end);
    close(folder);
    folder = next;
    begin = end + 1;
  }
  place.folder = lastFolder_ = folder;
  return place;
}

WorkingFiles::Presence WorkingFiles::look(const std::string& path) {
  const Place place = placeOf(path);
  Presence presence;
  if (!place.blockedBy.empty()) {
    presence.kind = Kind::Blocked;
    presence.blockedBy = place.blockedBy;
    return presence;
  }
  struct stat found = {};
  if (place.folder < 0 ||
      fstatat(place.folder, place.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
    return presence;
  return presenceOf(found);
}

bool WorkingFiles::isReadable(const std::string& path) {
  const Place place = placeOf(path);
  if (place.folder < 0) return false;
  // It may have become a pipe meanwhile, which must not block this.
  const int file =
      openat(place.folder, place.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return false;
  close(file);
  return true;
}

std::optional<std::string> WorkingFiles::linkTarget(const std::string& path) {
  const Place place = placeOf(path);
  std::array<char, 4096> target{};
  const ssize_t size =
      place.folder < 0 ? -1
                       : readlinkat(place.folder, place.name.c_str(), target.data(), target.size());
  if (size < 0 || static_cast<std::size_t>(size) == target.size()) return std::nullopt;
  return std::string(target.data(), static_cast<std::size_t>(size));
}

std::optional<std::vector<std::string>> WorkingFiles::contents(const std::string& folder,
                                                               std::size_t limit) {
  const Place place = placeOf(folder);
  std::vector<std::string> found;
  if (place.folder < 0 || !gather(place.folder, place.name.c_str(), folder, limit, 0, found))
    return std::nullopt;
  return found;
}

std::string WorkingFiles::remove(const std::string& path, const Print& print) {
  if (look(path).print != print) return "\"" + path + "\" has changed meanwhile.";
  const Place place = placeOf(path);
  if (place.folder < 0 || unlinkat(place.folder, place.name.c_str(), 0) != 0)
    return root_ + "/" + path + ": " + reason();
  removeEmptyParents(path);
  return {};
}

void WorkingFiles::removeEmptyParents(std::string path) {
  for (std::size_t cut = path.rfind('/'); cut != std::string::npos; cut = path.rfind('/')) {
    path.resize(cut);
    const Place place = placeOf(path);
    if (place.folder < 0 || unlinkat(place.folder, place.name.c_str(), AT_REMOVEDIR) != 0) return;
  }
}

void WorkingFiles::removeEmptyFolders(const std::string& folder) {
  const Place place = placeOf(folder);
  if (place.folder >= 0) pruneEmpty(place.folder, place.name.c_str(), 0);
}

// Moves the new file over what was there before.
std::string WorkingFiles::put(const std::string& path, const Presence& before,
                              const std::string& temporary, const Place& place) {
  struct stat found = {};
  const bool there = fstatat(place.folder, place.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
  std::string problem;
  if ((there ? presenceOf(found) : Presence()) !=
      (before.kind == Kind::Blocked ? Presence() : before))
    problem = "\"" + path + "\" has changed meanwhile.";
  else if (there ? renameat(place.folder, temporary.c_str(), place.folder, place.name.c_str()) != 0
                 : renameat2(place.folder, temporary.c_str(), place.folder, place.name.c_str(),
                             RENAME_NOREPLACE) != 0)
    problem = root_ + "/" + path + ": " + reason();
  if (!problem.empty()) unlinkat(place.folder, temporary.c_str(), 0);
  return problem;
}

std::string WorkingFiles::writeFile(const std::string& path, std::string_view content,
                                    std::uint32_t mode, const Presence& before) {
  const Place place = placeOf(path, true);
  if (place.folder < 0) return root_ + "/" + path + ": " + reason();
  const std::string temporary = temporaryName();
  const int file =
      openat(place.folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file < 0) return root_ + "/" + path + ": " + reason();
  const bool written = writeAll(file, content) && fchmod(file, mode & 0777U) == 0;
  const std::string why = written ? "" : reason();
  close(file);
  if (written) return put(path, before, temporary, place);
  unlinkat(place.folder, temporary.c_str(), 0);
  return root_ + "/" + path + ": " + why;
}

std::string WorkingFiles::writeLink(const std::string& path, const std::string& target,
                                    const Presence& before) {
  const Place place = placeOf(path, true);
  const std::string temporary = temporaryName();
  if (place.folder < 0 || symlinkat(target.c_str(), place.folder, temporary.c_str()) != 0)
    return root_ + "/" + path + ": " + reason();
  return put(path, before, temporary, place);
}

}  // namespace kelpie::agent
