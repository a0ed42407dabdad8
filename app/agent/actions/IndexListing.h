#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "agent/actions/TreeListing.h"
#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// One version of a path in the index.
struct IndexEntry {
  TreeEntry entry;
  int stage = 0;  // 1 to 3 in a conflict: of the common ancestor, ours, theirs

  friend bool operator==(const IndexEntry&, const IndexEntry&) = default;
};

// What the index has. A value; any thread.
class IndexListing {
 public:
  // The entries of those paths (relative to the root) that `wanted` accepts, or only the conflicts
  // among them. Absent when git does not tell. Blocks while git answers; `git` runs in the root.
  enum class Stages { All, Conflicts };
  static std::optional<IndexListing> read(const GitCommand& git, const TreeListing::Filter& wanted,
                                          Stages stages = Stages::All);

  // The versions by stage; empty for a path that the index does not have.
  const std::vector<IndexEntry>& at(const std::string& path) const;
  const std::unordered_map<std::string, std::vector<IndexEntry>>& entries() const {
    return entries_;
  }
  // Whether the user has told git not to look for changes of the file.
  bool isAssumedUnchanged(const std::string& path) const;

 private:
  std::unordered_map<std::string, std::vector<IndexEntry>> entries_;
  std::unordered_set<std::string> assumedUnchanged_;
};

}  // namespace kelpie::agent
