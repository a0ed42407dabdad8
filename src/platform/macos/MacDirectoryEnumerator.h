#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "platform/FileSystem.h"
#include "platform/macos/Retained.h"

namespace kelpie {

// The file manager's walk below a folder. It reads the two facts that an entry holds with the
// listing itself.
class MacDirectoryEnumerator final : public DirectoryEnumerator {
 public:
  // `folder` is nil when `path` names no file; that is an error at `path`.
  MacDirectoryEnumerator(NSURL* folder, const std::string& path, FileSystem::ErrorHandler onError);

  const DirectoryEntry* next() override;
  void skipDescendants() override { [enumerator_.get() skipDescendants]; }

 private:
  Retained<NSDirectoryEnumerator*> enumerator_;
  std::string path_;  // of entry_
  DirectoryEntry entry_;
};

}  // namespace kelpie
