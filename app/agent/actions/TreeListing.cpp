#include "agent/actions/TreeListing.h"

#include <algorithm>
#include <cstddef>

namespace kelpie::agent {

std::optional<TreeListing> TreeListing::read(const GitCommand& git, const std::string& commit,
                                             const Filter& wanted) {
  TreeListing tree;
  if (commit == "HEAD" &&
      !git.ask({"rev-parse", "--verify", "--quiet", "HEAD^{commit}"}).succeeded())
    return tree;
  const ProgramResult listed =
      git.ask({"ls-tree", "-r", "-z", "--full-tree", "--end-of-options", commit});
  if (!listed.succeeded()) return std::nullopt;
  // mode blank kind blank oid tab path NUL
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    const std::size_t tab = entry.find('\t');
    const std::size_t kind = entry.find(' ');
    const std::size_t oid = entry.substr(0, tab).rfind(' ');
    if (tab == std::string_view::npos || kind >= oid) return std::nullopt;
    const std::string_view path = entry.substr(tab + 1);
    if (!wanted(path)) continue;
    tree.entries_.emplace(path, TreeEntry{std::string(entry.substr(0, kind)),
                                          std::string(entry.substr(oid + 1, tab - oid - 1))});
  }
  return tree;
}

const TreeEntry* TreeListing::find(const std::string& path) const {
  const auto found = entries_.find(path);
  return found == entries_.end() ? nullptr : &found->second;
}

}  // namespace kelpie::agent
