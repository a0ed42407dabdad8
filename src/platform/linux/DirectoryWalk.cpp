#include "platform/linux/DirectoryWalk.h"

#include <cerrno>
#include <utility>

#include "platform/linux/FileErrors.h"
#include "platform/linux/MountTable.h"
#include "platform/linux/RealPath.h"

namespace kelpie {
namespace {

std::string joined(const std::string& folder, std::string_view name) {
  std::string path = folder == "/" ? std::string() : folder;
  return path.append("/").append(name);
}

}  // namespace

DirectoryWalk::DirectoryWalk(std::string folder, FileSystem::ErrorHandler onError,
                             FolderListing::Identity identity)
    : onError_(std::move(onError)), identity_(identity) {
  const auto real = realPath(folder);
  if (identity == FolderListing::Identity::Listed &&
      (!real || MountTable::shared().hasMountBelow(*real)))
    identity_ = FolderListing::Identity::Looked;
  enter(std::move(folder), true);
}

const DirectoryEntry* DirectoryWalk::next() {
  if (std::exchange(enterNext_, false)) enter(path_, false);
  while (!stopped_ && !levels_.empty()) {
    Level& level = levels_.back();
    if (level.next == level.listing.size()) {
      levels_.pop_back();
      continue;
    }
    const FolderListing::Item item = level.listing.item(level.next++);
    path_ = joined(level.path, item.name);
    entry_ = {path_, item.isDirectory, item.identifier};
    enterNext_ = item.isDirectory;
    return &entry_;
  }
  return nullptr;
}

void DirectoryWalk::skipDescendants() { enterNext_ = false; }

void DirectoryWalk::enter(std::string folder, bool followLink) {
  Level level;
  const int error = level.listing.read(folder, followLink, identity_);
  // Git, for one, makes and removes folders all the time: a folder that is gone counts as empty.
  const bool isStart = followLink;
  if (error == ENOENT && !isStart) return;
  if (error != 0) {
    stopped_ = onError_ && !onError_(folder, fileError(error));
    return;
  }
  level.path = std::move(folder);
  levels_.push_back(std::move(level));
}

}  // namespace kelpie
