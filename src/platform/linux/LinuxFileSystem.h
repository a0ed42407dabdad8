#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace kelpie {

// The files of this machine. Nothing is remembered from one question to the next. A URL whose path
// is not absolute or holds a NUL names nothing. Any thread; blocks as the file system does.
class LinuxFileSystem final : public FileSystem {
 public:
  ResourceValues resourceValues(const URL& url) const override;
  // The last component of the path, as text.
  std::optional<std::string> localizedName(const URL& url) const override;
  // Always missing: file managers draw their own icons.
  std::optional<Image> icon(const URL& url) const override;
  // By the path alone, whether anything exists there or not.
  std::optional<URL> parentUrl(const URL& url) const override;
  // The file URL of the path without links.
  std::optional<URL> fileReferenceUrl(const URL& url) const override;
  // The URL itself: there are no references.
  std::optional<URL> filePathUrl(const URL& url) const override;
  // Of a link to a folder: what that folder holds.
  std::vector<URL> contentsOfDirectory(const URL& url) const override;
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override;
  BookmarkResolution resolveBookmark(ByteView bookmark) const override;
};

}  // namespace kelpie
