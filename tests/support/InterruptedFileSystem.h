#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/BookmarkResolution.h"
#include "platform/FileSystem.h"

namespace kelpie {

// Another file system, in which something happens once, right after the first look at `path`: what
// other threads could do while a piece of work looks at files. One thread.
class InterruptedFileSystem final : public FileSystem {
 public:
  // `files` outlives this.
  explicit InterruptedFileSystem(const FileSystem& files) : files_(files) {}

  std::string path;
  mutable std::function<void()> interrupt;

  ResourceValues resourceValues(const URL& url) const override {
    const ResourceValues values = files_.resourceValues(url);
    if (interrupt && url.path() == path) std::exchange(interrupt, nullptr)();
    return values;
  }
  std::optional<std::string> localizedName(const URL& url) const override {
    return files_.localizedName(url);
  }
  std::optional<Image> icon(const URL& url) const override { return files_.icon(url); }
  std::optional<URL> parentUrl(const URL& url) const override { return files_.parentUrl(url); }
  std::optional<URL> fileReferenceUrl(const URL& url) const override {
    return files_.fileReferenceUrl(url);
  }
  std::optional<URL> filePathUrl(const URL& url) const override { return files_.filePathUrl(url); }
  std::vector<URL> contentsOfDirectory(const URL& url) const override {
    return files_.contentsOfDirectory(url);
  }
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override {
    return files_.enumerator(url, std::move(onError));
  }
  BookmarkResolution resolveBookmark(ByteView bookmark) const override {
    return files_.resolveBookmark(bookmark);
  }

 private:
  const FileSystem& files_;
};

}  // namespace kelpie
