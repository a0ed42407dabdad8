#include "status/FolderWalk.h"

namespace kelpie {

FolderWalk::FolderWalk(const URL& folder, const IgnoredUrls& ignored, const FileSystem& files)
    : ignored_(ignored),
      files_(files),
      enumerator_(files.enumerator(folder, [this](const std::string& path, const Error& error) {
        if (!error_) {
          error_ = error;
          errorPath_ = path;
        }
        return false;
      })) {}

const DirectoryEntry* FolderWalk::next() {
  if (error_) return nullptr;
  const DirectoryEntry* entry = enumerator_->next();
  return error_ ? nullptr : entry;
}

bool FolderWalk::skipIfIgnored(const DirectoryEntry& folder) {
  if (!ignored_.contains(folder.path, folder.identifier, files_)) return false;
  enumerator_->skipDescendants();
  return true;
}

}  // namespace kelpie
