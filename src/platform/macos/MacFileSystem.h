#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace kelpie {

// The files of this machine, by the resource values of fresh URLs: nothing is remembered from one
// question to the next. Any thread; blocks as the file system does.
class MacFileSystem final : public FileSystem {
 public:
  ResourceValues resourceValues(const URL& url) const override;
  std::optional<std::string> localizedName(const URL& url) const override;
  // Named by the file's URL, as no resource is: nsImage() makes the picture of it.
  std::optional<Image> icon(const URL& url) const override;
  // As the system says; by the path of a file that is gone, of which the system says nothing.
  std::optional<URL> parentUrl(const URL& url) const override;
  // A reference of the file system's ("file:///.file/id=..."), which follows the file when it is
  // moved or renamed. Every question here takes references as well as paths.
  std::optional<URL> fileReferenceUrl(const URL& url) const override;
  std::optional<URL> filePathUrl(const URL& url) const override;
  std::vector<URL> contentsOfDirectory(const URL& url) const override;
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override;
  BookmarkResolution resolveBookmark(ByteView bookmark) const override;
};

}  // namespace kelpie
