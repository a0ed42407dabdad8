#pragma once

#include <string>
#include <unordered_map>

#include "platform/FileSystem.h"

namespace kelpie {

// A file system that looks at each path once, for the time of one piece of work that asks many
// questions about few items: building a menu, finding the repository of a selection. Lives on the
// stack of that work and is used by its thread alone; what changes on disk meanwhile is not seen.
// Only single looks are remembered; listings and walks go through.
class MemoFileSystem final : public FileSystem {
 public:
  // `files` outlives this.
  explicit MemoFileSystem(const FileSystem& files = FileSystem::current()) : files_(files) {}

  ResourceValues resourceValues(const URL& url) const override;
  std::optional<std::string> localizedName(const URL& url) const override;
  std::optional<Image> icon(const URL& url) const override;
  std::optional<URL> parentUrl(const URL& url) const override;
  std::optional<URL> fileReferenceUrl(const URL& url) const override;
  std::optional<URL> filePathUrl(const URL& url) const override;
  std::vector<URL> contentsOfDirectory(const URL& url) const override;
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override;
  BookmarkResolution resolveBookmark(ByteView bookmark) const override;

 private:
  const FileSystem& files_;
  mutable std::unordered_map<std::string, ResourceValues> seen_;  // by path
};

}  // namespace kelpie
