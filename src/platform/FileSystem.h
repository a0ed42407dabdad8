#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/FileIdentifier.h"
#include "foundation/Image.h"

namespace kelpie {

class URL;
struct Error;
struct BookmarkResolution;

// What one look at a file tells. Everything is empty when nothing is there or it cannot be looked
// at. A symbolic link is itself, not its target.
struct ResourceValues {
  std::optional<FileIdentifier> identifier;
  bool isDirectory = false;
  bool isPackage = false;  // a directory that users see as one file
  bool isSymbolicLink = false;
};

// One item that a DirectoryEnumerator met. Borrowed: valid until the next call of next().
struct DirectoryEntry {
  std::string_view path;  // absolute, bytes, no trailing slash
  bool isDirectory = false;
  // What lstat would say; absent when the item is gone or cannot be looked at.
  std::optional<FileIdentifier> identifier;
};

// A walk over everything below a folder, parents before their contents, hidden items and the
// contents of packages included, links not followed. Used on the thread that made it.
class DirectoryEnumerator {
 public:
  virtual ~DirectoryEnumerator() = default;
  // The next item, or null at the end. After an error, see FileSystem::enumerator.
  virtual const DirectoryEntry* next() = 0;
  // Leaves out what lies below the item that next() gave last.
  virtual void skipDescendants() = 0;
};

// What the core asks of the file system. Blocks for as long as the file system does, so the main
// queue asks only about single items. Any thread.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // Handles an error of the walk at the item of that path; answers whether the walk goes on.
  using ErrorHandler = std::function<bool(const std::string& path, const Error& error)>;

  // The file system that URLs ask by default: the one installed last, else one in which nothing
  // exists. A process installs its own at its start, before a second thread runs.
  static const FileSystem& current();
  // Installs `files` (null: the empty one) and returns what was installed before.
  static std::shared_ptr<const FileSystem> install(std::shared_ptr<const FileSystem> files);

  // One look at the file, without a cache. Empty for anything but a file URL.
  virtual ResourceValues resourceValues(const URL& url) const = 0;
  // The name that the platform shows for the file; absent when nothing is there.
  virtual std::optional<std::string> localizedName(const URL& url) const = 0;
  // Absent where the platform has no icon to offer.
  virtual std::optional<Image> icon(const URL& url) const = 0;
  // The folder that holds the file, by the path alone; absent for the root and no file URL.
  virtual std::optional<URL> parentUrl(const URL& url) const = 0;
  // A URL that names the file whatever its path is written like; absent when nothing is there.
  // Where the platform has file references it is one, and names the file also after that has moved;
  // elsewhere it is the path without links. References are good for every question here.
  virtual std::optional<URL> fileReferenceUrl(const URL& url) const = 0;
  // The URL of the path that the file has now, for a file reference; absent when its file is gone.
  // Any other URL as it is.
  virtual std::optional<URL> filePathUrl(const URL& url) const = 0;
  // The immediate contents, hidden items included; empty when they cannot be read.
  virtual std::vector<URL> contentsOfDirectory(const URL& url) const = 0;
  // A walk below the folder. Errors (a folder that cannot be read, or is gone; below the first one
  // such a one may count as empty) go to `onError`, maybe before this returns; when it returns
  // false, next() gives null from then on. Without a handler the walk goes on. Never null.
  virtual std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                          ErrorHandler onError) const = 0;
  // What a bookmark stands for, without asking the user.
  virtual BookmarkResolution resolveBookmark(ByteView bookmark) const = 0;
};

}  // namespace kelpie
