#pragma once

#include "platform/FileSystem.h"

namespace kelpie {

// The files of this machine, by the resource values of fresh URLs: nothing is remembered from one
// question to the next. Any thread; blocks as the file system does.
class MacFileSystem final : public FileSystem {
 public:
  ResourceValues resourceValues(const URL& url) const override;
  std::optional<std::string> localizedName(const URL& url) const override;
  // Always missing: the platform's icons have no names.
  std::optional<Image> icon(const URL& url) const override;
  // By the path alone; of a file reference, by the path that it stands for.
  std::optional<URL> parentUrl(const URL& url) const override;
  // The path that the file's reference stands for: without links, in the file system's own
  // spelling.
  std::optional<URL> fileReferenceUrl(const URL& url) const override;
  std::vector<URL> contentsOfDirectory(const URL& url) const override;
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override;
  BookmarkResolution resolveBookmark(ByteView bookmark) const override;
};

}  // namespace kelpie
