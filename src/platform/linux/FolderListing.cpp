#include "platform/linux/FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

#include "linux/base/UniqueFd.h"
#include "platform/linux/FileIdentity.h"

namespace kelpie {
namespace {

// File systems whose listings bear the inode numbers that lstat() gives, and whose files are on the
// device of their folder. Others (stacked, remote or user-space ones) are asked item by item.
constexpr std::uint32_t kVouchingFileSystems[] = {
    0x0000EF53,  // ext2, ext3, ext4
    0x58465342,  // xfs
    0x9123683E,  // btrfs
    0x01021994,  // tmpfs
    0xF2F52010,  // f2fs
};

bool vouchesForItsListings(int folder) {
  struct statfs status = {};
  if (::fstatfs(folder, &status) != 0) return false;
  const auto type = static_cast<std::uint32_t>(status.f_type);
  return std::find(std::begin(kVouchingFileSystems), std::end(kVouchingFileSystems), type) !=
         std::end(kVouchingFileSystems);
}

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

// What is missing now and may be there in a moment, when somebody else has let go of it.
constexpr int kShortageTries = 20;
constexpr std::chrono::milliseconds kShortagePause(50);

bool maySoonPass(int error) {
  return error == EINTR || error == EMFILE || error == ENFILE || error == ENOMEM;
}

bool isDotName(std::string_view name) { return name == "." || name == ".."; }

}  // namespace

int FolderListing::read(const std::string& path, bool followLink, Identity identity) {
  int error = readOnce(path, followLink, identity);
  for (int i = 1; i < kShortageTries && maySoonPass(error); ++i) {
    if (error != EINTR) std::this_thread::sleep_for(kShortagePause);
    error = readOnce(path, followLink, identity);
  }
  return error;
}

int FolderListing::readOnce(const std::string& path, bool followLink, Identity identity) {
  names_.clear();
  entries_.clear();
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
  UniqueFd folder(::open(path.c_str(), followLink ? flags : flags | O_NOFOLLOW));
  if (!folder) return errno;
  return readEntries(folder.release(), identity);
}

int FolderListing::readEntries(int fd, Identity identity) {
  const std::unique_ptr<DIR, CloseFolder> folder(::fdopendir(fd));
  if (folder == nullptr) {
    const int error = errno;
    ::close(fd);
    return error;
  }
  struct stat status = {};
  if (::fstat(fd, &status) != 0) return errno;
  device_ = status.st_dev;
  identifies_ = identity != Identity::None;
  const bool look =
      identity == Identity::Looked || (identity == Identity::Listed && !vouchesForItsListings(fd));
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(folder.get());
    if (entry == nullptr) break;
    const std::string_view name = &entry->d_name[0];
    if (isDotName(name)) continue;
    // What is mounted on a folder, or is a file system's inner volume, has another identity than
    // the listing says; so folders are always looked at.
    const bool isFolder = entry->d_type == DT_DIR && identifies_;
    add(fd, name, entry->d_type, entry->d_ino, look || isFolder || entry->d_type == DT_UNKNOWN);
  }
  const int error = errno;
  if (error != 0) {
    names_.clear();
    entries_.clear();
  }
  return error;
}

void FolderListing::add(int folder, std::string_view name, unsigned char type, ino_t inode,
                        bool look) {
  Entry entry = {names_.size(),  device_, inode, static_cast<std::uint32_t>(name.size()),
                 type == DT_DIR, true};
  names_.append(name);
  names_ += '\0';
  if (look) {
    struct stat status = {};
    const char* start = names_.c_str() + entry.nameStart;
    entry.identified = ::fstatat(folder, start, &status, AT_SYMLINK_NOFOLLOW) == 0;
    entry.isDirectory = entry.identified && S_ISDIR(status.st_mode);
    entry.device = status.st_dev;
    entry.inode = status.st_ino;
  }
  entries_.push_back(entry);
}

FolderListing::Item FolderListing::item(std::size_t index) const {
  const Entry& entry = entries_[index];
  const std::string_view names = names_;
  const std::string_view name = names.substr(entry.nameStart, entry.nameLength);
  if (!identifies_ || !entry.identified) return {name, entry.isDirectory, std::nullopt};
  return {name, entry.isDirectory, fileIdentifier(entry.device, entry.inode)};
}

}  // namespace kelpie
