#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// The entry of a commit or of the index at one path.
struct TreeEntry {
  std::string mode;  // as git writes it, such as "100644"
  std::string oid;

  bool isSubmodule() const { return mode == "160000"; }
  friend bool operator==(const TreeEntry&, const TreeEntry&) = default;
};

// The entries of a commit. A value; any thread.
class TreeListing {
 public:
  using Filter = std::function<bool(std::string_view path)>;
  // Those paths (relative to the root) of `commit`, a full reference name, "HEAD" or an object's
  // name, that `wanted` accepts. Empty for a "HEAD" without a commit. Absent when git does not
  // tell. Blocks while git answers; `git` runs in the root.
  static std::optional<TreeListing> read(const GitCommand& git, const std::string& commit,
                                         const Filter& wanted);

  // Null when the commit does not have the path.
  const TreeEntry* find(const std::string& path) const;
  const std::unordered_map<std::string, TreeEntry>& entries() const { return entries_; }

 private:
  std::unordered_map<std::string, TreeEntry> entries_;
};

}  // namespace kelpie::agent
