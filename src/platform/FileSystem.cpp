#include "platform/FileSystem.h"

#include <utility>

#include "foundation/Error.h"
#include "foundation/URL.h"
#include "platform/BookmarkResolution.h"

namespace kelpie {
namespace {

class EmptyEnumerator final : public DirectoryEnumerator {
 public:
  const DirectoryEntry* next() override { return nullptr; }
  void skipDescendants() override {}
};

// In force until a process has installed its own: nothing exists.
class EmptyFileSystem final : public FileSystem {
 public:
  ResourceValues resourceValues(const URL& /*url*/) const override { return {}; }
  std::optional<std::string> localizedName(const URL& /*url*/) const override { return {}; }
  std::optional<Image> icon(const URL& /*url*/) const override { return {}; }
  std::optional<URL> parentUrl(const URL& url) const override {
    return url.deletingLastPathComponent();
  }
  std::optional<URL> fileReferenceUrl(const URL& /*url*/) const override { return {}; }
  std::optional<URL> filePathUrl(const URL& url) const override { return url; }
  std::vector<URL> contentsOfDirectory(const URL& /*url*/) const override { return {}; }
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& /*url*/,
                                                  ErrorHandler /*onError*/) const override {
    return std::make_unique<EmptyEnumerator>();
  }
  BookmarkResolution resolveBookmark(ByteView /*bookmark*/) const override { return {}; }
};

// Not guarded: it changes only while the process has one thread.
std::shared_ptr<const FileSystem>& installed() {
  static std::shared_ptr<const FileSystem> files = std::make_shared<const EmptyFileSystem>();
  return files;
}

}  // namespace

const FileSystem& FileSystem::current() { return *installed(); }

std::shared_ptr<const FileSystem> FileSystem::install(std::shared_ptr<const FileSystem> files) {
  if (files == nullptr) files = std::make_shared<const EmptyFileSystem>();
  return std::exchange(installed(), std::move(files));
}

}  // namespace kelpie
