#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/FileIdentifier.h"
#include "platform/FileSystem.h"

namespace kelpie {

class Object;

// A URL: text, percent-encoded, with an optional base. Immutable and cheap to copy. All copies of
// one URL are the same object; two URLs that were made separately are not, even with one text.
// There is deliberately no operator==: equality asks the file system, so it is spelled isEqual().
//
// The operations that ask the file system take the one to ask, by default the process's own; a
// caller that makes many questions within one piece of work hands in a MemoFileSystem instead.
// Any thread.
class URL {
 public:
  // The URL with this text (RFC 3986; relative to `base` when there is one). Absent when the text
  // is no valid URL: a character that must be percent-encoded, a bad port, an empty text; also when
  // more than 64 bases stand behind one another.
  // Two liberties, so that the address of a git remote such as "user@host:path", as people write
  // and paste it, is a URL: what precedes the first ":" belongs to the path when it can be no
  // scheme, and a text with neither scheme, host nor base may hold white space and line breaks.
  static std::optional<URL> fromString(std::string_view text,
                                       const std::optional<URL>& base = std::nullopt);

  // The file URL of an absolute path; one that does not begin with a slash is taken from the root.
  // The path is bytes: whatever is not plain is percent-encoded, and path() gives the very same
  // bytes back (but for trailing and doubled slashes). With `isDirectory` the text ends in a slash.
  static URL fileURLWithPath(std::string_view path, bool isDirectory = false);

  const std::string& relativeString() const;  // the text as it was given
  std::optional<URL> base() const;
  const std::string& absoluteString() const;  // resolved against the base
  std::string scheme() const;                 // of the absolute text, lower case; "" when absent
  std::string host() const;                   // decoded; "" when absent
  bool isFileURL() const;

  // The percent-decoded bytes of the absolute path, without a trailing slash (but for "/").
  // May hold bytes that are not UTF-8.
  const std::string& path() const;
  // The last component of path(); "/" for the root, "" for an empty path.
  std::string_view lastPathComponent() const;
  // The file URL of path() without its last component, whether anything exists there or not; absent
  // for the root and for anything but a file URL.
  std::optional<URL> deletingLastPathComponent() const;

  bool isSameObject(const URL& other) const { return rep_ == other.rep_; }
  // What copies of the URL share, and no other URL does while they live.
  const void* sharedAddress() const { return rep_.get(); }
  // Of the text alone: file URLs that are equal may have different hashes.
  std::size_t hash() const;

  // -- KPExtensions ------------------------------------------------------------------------------

  // The system's one URL equality. Not symmetric: a receiver that is no file URL compares absolute
  // strings and never asks what the argument is.
  bool isEqual(const Object& object, const FileSystem& files = FileSystem::current()) const;
  bool isEqual(const URL& other, const FileSystem& files = FileSystem::current()) const;

  // What names the file on its volume; absent when nothing is there.
  std::optional<FileIdentifier> identifier(const FileSystem& files = FileSystem::current()) const;
  // The icon that the platform shows for the file; absent where the platform has none to offer.
  std::optional<Image> icon(const FileSystem& files = FileSystem::current()) const;
  std::optional<std::string> localizedName(const FileSystem& files = FileSystem::current()) const;
  bool isDirectory(const FileSystem& files = FileSystem::current()) const;
  bool isPackage(const FileSystem& files = FileSystem::current()) const;
  bool isSymbolicLink(const FileSystem& files = FileSystem::current()) const;
  // The folder that holds the file; absent for the root and for anything but a file URL.
  std::optional<URL> parentUrl(const FileSystem& files = FileSystem::current()) const;
  // This is a directory and a strict ancestor of `url`. Ends on any path, also one of links in a
  // loop, since each step makes the path shorter.
  bool isParentOfUrl(const URL& url, const FileSystem& files = FileSystem::current()) const;

  // -- Of the system's operations, but called by nothing in this project --------------------------

  // The "ssh" URL for scp-like remote syntax (user@host:path), else the receiver itself. Absent
  // when the parts make no valid URL.
  std::optional<URL> spcSyntaxResolvedUrl() const;

 private:
  struct Rep;
  explicit URL(std::shared_ptr<const Rep> rep) : rep_(std::move(rep)) {}

  std::shared_ptr<const Rep> rep_;
};

}  // namespace kelpie
