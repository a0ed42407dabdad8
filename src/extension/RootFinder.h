#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/FolderRun.h"
#include "foundation/URL.h"

namespace kelpie {

// Of a list of root folders, finds those that hold a URL: that equal it or are a parent of it, as
// URL::isEqual and URL::isParentOfUrl (with the root as their receiver) have it. A root that is
// known by its identifier holds something only while its URL has that identifier; this is looked at
// when something seems to lie in it, so that the others cost nothing.
//
// For one piece of work: what was learned of the roots and of one folder serves for every other
// item in that folder, so that many items in few folders cost one look at each and a comparison.
// Single-threaded.
class RootFinder {
 public:
  using Indexes = std::vector<std::size_t>;  // of the roots, ascending
  struct Root {
    URL url;
    std::optional<FileIdentifier> identifier;  // absent when nothing is there
  };

  // `files` is borrowed, and best looks at each path once: see MemoFileSystem.
  RootFinder(std::vector<Root> roots, const FileSystem& files);
  // Of the roots as they are now.
  RootFinder(const std::vector<URL>& roots, const FileSystem& files);

  // The first root that holds the URL; absent when none does.
  std::optional<std::size_t> firstRootOf(const URL& url);
  // All of them.
  Indexes rootsOf(const URL& url);

 private:
  // A root that equals a folder or is a parent of it. An item that is the root's own parent is not
  // inside the root, though links in its path may make it look so.
  struct Holder {
    std::size_t root = 0;
    std::optional<FileIdentifier> parent;
  };
  using Holders = std::vector<Holder>;

  Indexes rootsEqualTo(const URL& url, const std::optional<FileIdentifier>& identifier) const;
  bool isInPlace(std::size_t root) const;
  static bool isAbove(const Holder& holder, const std::optional<FileIdentifier>& item);
  const Holders& holdersAround(const URL& url);
  Holders holdersOf(const URL& folder) const;

  const std::vector<Root> roots_;
  const FileSystem& files_;
  std::unordered_map<FileIdentifier, Indexes> byIdentifier_;
  Indexes withoutIdentifier_;
  std::unordered_map<std::string, Holders> holders_;  // by the folder's path
  const Holders none_;
  FolderRun run_;
  const Holders* runHolders_ = &none_;  // of the run's folder
};

}  // namespace kelpie
