#include "foundation/MemoFileSystem.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/URL.h"
#include "platform/BookmarkResolution.h"

namespace kelpie {

ResourceValues MemoFileSystem::resourceValues(const URL& url) const {
  if (!url.isFileURL()) return files_.resourceValues(url);
  const auto [seen, isNew] = seen_.try_emplace(url.path());
  if (isNew) seen->second = files_.resourceValues(url);
  return seen->second;
}

std::optional<std::string> MemoFileSystem::localizedName(const URL& url) const {
  return files_.localizedName(url);
}

std::optional<Image> MemoFileSystem::icon(const URL& url) const { return files_.icon(url); }

std::optional<URL> MemoFileSystem::parentUrl(const URL& url) const { return files_.parentUrl(url); }

std::optional<URL> MemoFileSystem::fileReferenceUrl(const URL& url) const {
  return files_.fileReferenceUrl(url);
}

std::optional<URL> MemoFileSystem::filePathUrl(const URL& url) const {
  return files_.filePathUrl(url);
}

std::vector<URL> MemoFileSystem::contentsOfDirectory(const URL& url) const {
  return files_.contentsOfDirectory(url);
}

std::unique_ptr<DirectoryEnumerator> MemoFileSystem::enumerator(const URL& url,
                                                                ErrorHandler onError) const {
  return files_.enumerator(url, std::move(onError));
}

BookmarkResolution MemoFileSystem::resolveBookmark(ByteView bookmark) const {
  return files_.resolveBookmark(bookmark);
}

}  // namespace kelpie
