#pragma once

#include <memory>
#include <optional>
#include <string>

#include "foundation/Error.h"
#include "foundation/URL.h"
#include "platform/FileSystem.h"
#include "status/IgnoredUrls.h"

namespace kelpie {

// A walk over what lies below a folder and not in an ignored folder, which ends at the first error.
// Used on the thread that made it.
class FolderWalk {
 public:
  // `files` and `ignored` outlive this.
  FolderWalk(const URL& folder, const IgnoredUrls& ignored, const FileSystem& files);
  FolderWalk(const FolderWalk&) = delete;
  FolderWalk& operator=(const FolderWalk&) = delete;

  // The next item, or null at the end or after an error. Borrowed until the next call.
  const DirectoryEntry* next();
  // For a folder that next() has just given: leaves its contents out if it is ignored, and says so.
  bool skipIfIgnored(const DirectoryEntry& folder);
  // Leaves out what lies below the item that next() gave last.
  void skipDescendants() { enumerator_->skipDescendants(); }

  // What ended the walk; absent as long as nothing went wrong.
  const std::optional<Error>& error() const { return error_; }
  // Where that was.
  const std::string& errorPath() const { return errorPath_; }

 private:
  const IgnoredUrls& ignored_;
  const FileSystem& files_;
  std::optional<Error> error_;
  std::string errorPath_;
  std::unique_ptr<DirectoryEnumerator> enumerator_;
};

}  // namespace kelpie
