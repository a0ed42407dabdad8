#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/linux/FolderListing.h"

namespace kelpie {

// The walk below a folder: depth first, the items of each folder in the file system's order. A
// folder is read when the walk gets there, and closed at once, so a deep tree holds no files open.
class DirectoryWalk final : public DirectoryEnumerator {
 public:
  // `folder` is absolute; when it is a link, what it leads to is walked, under the link's path.
  // With Identity::Listed every item is looked at all the same where something is mounted below
  // the folder.
  DirectoryWalk(std::string folder, FileSystem::ErrorHandler onError,
                FolderListing::Identity identity = FolderListing::Identity::Listed);

  const DirectoryEntry* next() override;
  void skipDescendants() override;

 private:
  struct Level {
    std::string path;
    FolderListing listing;
    std::size_t next = 0;
  };

  void enter(std::string folder, bool followLink);

  FileSystem::ErrorHandler onError_;
  FolderListing::Identity identity_;
  std::vector<Level> levels_;
  bool stopped_ = false;
  bool enterNext_ = false;  // the item that next() gave last is a folder to be walked
  std::string path_;        // of the item that next() gave last
  DirectoryEntry entry_;
};

}  // namespace kelpie
