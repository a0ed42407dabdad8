#include "agent/git/HeadTree.h"

#include <algorithm>
#include <cstddef>

namespace kelpie::agent {

std::optional<HeadTree> HeadTree::read(const GitCommand& git) {
  HeadTree tree;
  if (!git.ask({"rev-parse", "--verify", "--quiet", "HEAD^{commit}"}).succeeded()) return tree;
  const ProgramResult listed = git.ask({"ls-tree", "-r", "-z", "--full-tree", "HEAD"});
  if (!listed.succeeded()) return std::nullopt;
  // mode blank kind blank oid tab path NUL
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    const std::size_t tab = entry.find('\t');
    if (tab == std::string_view::npos) return std::nullopt;
    tree.entries_.emplace(entry.substr(tab + 1), entry.starts_with("160000 "));
  }
  return tree;
}

bool HeadTree::isSubmodule(const std::string& path) const {
  const auto entry = entries_.find(path);
  return entry != entries_.end() && entry->second;
}

}  // namespace kelpie::agent
