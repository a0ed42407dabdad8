#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/FileSystem.h"

namespace kelpie {

// A file system that looks at each path once, during one piece of work that asks many questions
// about few items, such as building a menu or finding the repository of a selection. Lives on that
// work's stack and is used by its thread alone; changes on disk are not seen meanwhile. Only looks
// at single items are remembered; listings and walks are passed on.
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
