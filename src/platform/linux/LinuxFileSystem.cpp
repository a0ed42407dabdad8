#include "platform/linux/LinuxFileSystem.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Text.h"
#include "foundation/URL.h"
#include "platform/linux/Bookmark.h"
#include "platform/linux/DirectoryWalk.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileIdentity.h"
#include "platform/linux/FolderListing.h"
#include "platform/linux/RealPath.h"

namespace kelpie {
namespace {

// The path that system calls may be given; null when the URL names no file of this machine.
const std::string* usablePath(const URL& url) {
  const std::string& path = url.path();
  const bool usable =
      url.isFileURL() && path.starts_with('/') && path.find('\0') == std::string::npos;
  return usable ? &path : nullptr;
}

// The walk over a folder that cannot be walked.
class NoWalk final : public DirectoryEnumerator {
 public:
  const DirectoryEntry* next() override { return nullptr; }
  void skipDescendants() override {}
};

}  // namespace

ResourceValues LinuxFileSystem::resourceValues(const URL& url) const {
  const std::string* path = usablePath(url);
  struct stat status = {};
  if (path == nullptr || ::lstat(path->c_str(), &status) != 0) return {};
  // File managers here show every directory as a folder: nothing is a package.
  return {fileIdentifier(status), S_ISDIR(status.st_mode), false, S_ISLNK(status.st_mode)};
}

std::optional<std::string> LinuxFileSystem::localizedName(const URL& url) const {
  if (!resourceValues(url).identifier) return std::nullopt;
  return displayText(url.lastPathComponent());
}

std::optional<Image> LinuxFileSystem::icon(const URL& /*url*/) const { return std::nullopt; }

std::optional<URL> LinuxFileSystem::parentUrl(const URL& url) const {
  return url.deletingLastPathComponent();
}

std::optional<URL> LinuxFileSystem::fileReferenceUrl(const URL& url) const {
  const std::string* path = usablePath(url);
  const auto real = path == nullptr ? std::nullopt : realPath(*path);
  return real ? std::optional(URL::fileURLWithPath(*real)) : std::nullopt;
}

std::optional<URL> LinuxFileSystem::filePathUrl(const URL& url) const { return url; }

std::vector<URL> LinuxFileSystem::contentsOfDirectory(const URL& url) const {
  const std::string* path = usablePath(url);
  FolderListing listing;
  if (path == nullptr || listing.read(*path, true, FolderListing::Identity::None) != 0) return {};
  std::vector<URL> urls;
  urls.reserve(listing.size());
  std::string itemPath = *path + "/";
  const std::size_t length = itemPath.size();
  for (std::size_t i = 0; i < listing.size(); ++i) {
    const FolderListing::Item item = listing.item(i);
    itemPath.resize(length);
    itemPath += item.name;
    urls.push_back(URL::fileURLWithPath(itemPath, item.isDirectory));
  }
  return urls;
}

std::unique_ptr<DirectoryEnumerator> LinuxFileSystem::enumerator(const URL& url,
                                                                 ErrorHandler onError) const {
  if (const std::string* path = usablePath(url))
    return std::make_unique<DirectoryWalk>(*path, std::move(onError));
  if (onError) onError(url.path(), fileError(ENOENT));
  return std::make_unique<NoWalk>();
}

BookmarkResolution LinuxFileSystem::resolveBookmark(ByteView bookmark) const {
  return Bookmark::resolve(bookmark);
}

}  // namespace kelpie
