#include "platform/linux/Bookmark.h"

#include <sys/stat.h>

#include <string_view>

#include "archive/PropertyList.h"
#include "foundation/Dictionary.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileIdentity.h"

namespace kelpie {
namespace {

constexpr std::string_view kPathKey = "path";
constexpr std::string_view kIdentifierKey = "identifier";

bool isUsablePath(const std::string& path) {
  return path.starts_with('/') && path.find('\0') == std::string::npos;
}

}  // namespace

std::optional<Bytes> Bookmark::make(const std::string& path) {
  struct stat status = {};
  if (!isUsablePath(path) || ::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return PropertyList::write(
      Dictionary{{Object(kPathKey), Object::path(path)},
                 {Object(kIdentifierKey), fileIdentifier(status).toObject()}});
}

BookmarkResolution Bookmark::resolve(ByteView bookmark) {
  const Object values = PropertyList::read(bookmark);
  const auto path = values[kPathKey].pathBytes();
  const auto identifier = values[kIdentifierKey].data();
  if (!path || !isUsablePath(*path) || !identifier)
    return {std::nullopt, false, cocoaError(kFileReadCorrupt, "The data is no bookmark.")};
  struct stat status = {};
  if (::lstat(path->c_str(), &status) != 0)
    return {std::nullopt, false,
            cocoaError(kFileReadNoSuchFile, "Nothing exists where the bookmark leads.")};
  return {URL::fileURLWithPath(*path, S_ISDIR(status.st_mode)),
          fileIdentifier(status) != FileIdentifier(*identifier), std::nullopt};
}

}  // namespace kelpie
