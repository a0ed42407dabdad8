#pragma once

#include <optional>
#include <string>

#include "foundation/Bytes.h"
#include "platform/BookmarkResolution.h"

namespace kelpie {

// Bookmark data: a binary property list of a dictionary with `path` (a string, or data when it is
// not UTF-8) and `identifier` (data: device and inode number). Any thread.
class Bookmark {
 public:
  Bookmark() = delete;

  // A bookmark of what is at the absolute path now; absent when nothing is there.
  static std::optional<Bytes> make(const std::string& path);

  // The path when something exists there, stale when that is another item than the one bookmarked.
  // Fails with code 260 of NSCocoaErrorDomain when nothing does, with 259 when the data is no
  // bookmark.
  static BookmarkResolution resolve(ByteView bookmark);
};

}  // namespace kelpie
