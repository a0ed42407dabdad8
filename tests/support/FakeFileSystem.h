#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/Mutex.h"
#include "foundation/Object.h"
#include "platform/BookmarkResolution.h"
#include "platform/FileSystem.h"
#include "support/EventLog.h"

namespace kelpie {

// A tree of files in memory, with "/" from the start. What is added brings the folders above it
// with it. Folders list their items in the order of adding. Links are followed in the middle of a
// path and where the contract says so, never at its end otherwise. Writes "files.list PATH" and
// "files.walk PATH"; single looks are counted instead. Any thread.
class FakeFileSystem final : public FileSystem {
 public:
  explicit FakeFileSystem(EventLog& events);
  ~FakeFileSystem() override;
  FakeFileSystem(const FakeFileSystem&) = delete;
  FakeFileSystem& operator=(const FakeFileSystem&) = delete;

  // -- The tree -----------------------------------------------------------------------------------

  // Each returns the item's URL. An item that is there already keeps its identity and contents.
  URL addFile(std::string_view path);
  URL addFolder(std::string_view path);
  // A directory that users see as one file.
  URL addPackage(std::string_view path);
  // `target` is absolute or relative to the link's folder, and need not exist.
  URL addLink(std::string_view path, std::string_view target);
  // Takes the item and all below it away.
  void remove(std::string_view path);
  // The item keeps its identity under the new path.
  void move(std::string_view from, std::string_view to);

  // Replaces the 16 bytes that every item gets. Any object that an identifier may be made from;
  // nil makes the item one that cannot be looked at.
  void setIdentifier(std::string_view path, const Object& identifier);
  // Makes a folder one that cannot be listed.
  void setUnreadable(std::string_view path);
  // Makes an item one that a listing or a walk still names, but that is gone when it is looked at.
  void setVanishing(std::string_view path);
  void setLocalizedName(std::string_view path, std::string_view name);
  void setIcon(std::string_view path, const Image& icon);

  // A bookmark that resolves to the path when something is there, and fails with an error
  // otherwise.
  Bytes addBookmark(std::string_view path);
  // Makes the bookmark resolve so from now on, whatever the tree holds.
  void setBookmark(const Bytes& bookmark, BookmarkResolution resolution);

  // Whether file references follow a file that moves, as on macOS, or are the paths without links,
  // as elsewhere. Off at the start.
  void setReferencesFollow(bool follow);

  // -- What was asked -----------------------------------------------------------------------------

  // Calls of resourceValues(): all, or of one path.
  std::size_t lookUps() const;
  std::size_t lookUps(std::string_view path) const;
  // Calls of contentsOfDirectory() and enumerator().
  std::size_t listings() const;
  void forgetCounts();

  ResourceValues resourceValues(const URL& url) const override;
  std::optional<std::string> localizedName(const URL& url) const override;
  std::optional<Image> icon(const URL& url) const override;
  std::optional<URL> parentUrl(const URL& url) const override;
  std::optional<URL> fileReferenceUrl(const URL& url) const override;
  std::optional<URL> filePathUrl(const URL& url) const override;
  std::vector<URL> contentsOfDirectory(const URL& url) const override;
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override;
  BookmarkResolution resolveBookmark(ByteView bookmark) const override;

 private:
  class Enumerator;
  struct Node;
  struct Tree;

  // The path that the URL names, be it a file reference; "" for a reference whose file is gone.
  std::string pathOf(const URL& url) const KELPIE_REQUIRES(mutex_);

  EventLog& events_;
  mutable Mutex mutex_;  // of the tree and of the counts that reading changes
  bool referencesFollow_ KELPIE_GUARDED_BY(mutex_) = false;
  std::unique_ptr<Tree> tree_ KELPIE_GUARDED_BY(mutex_);
  std::map<Bytes, BookmarkResolution> bookmarks_ KELPIE_GUARDED_BY(mutex_);
  mutable std::map<std::string, std::size_t, std::less<>> lookUps_ KELPIE_GUARDED_BY(mutex_);
  mutable std::size_t allLookUps_ KELPIE_GUARDED_BY(mutex_) = 0;
  mutable std::size_t listings_ KELPIE_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelpie
