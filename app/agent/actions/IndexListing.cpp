#include "agent/actions/IndexListing.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kelpie::agent {

std::optional<IndexListing> IndexListing::read(const GitCommand& git,
                                               const TreeListing::Filter& wanted, Stages stages) {
  const ProgramResult listed =
      git.ask({"ls-files", stages == Stages::All ? "--stage" : "--unmerged", "-v", "-z"});
  if (!listed.succeeded()) return std::nullopt;
  IndexListing index;
  // tag blank mode blank oid blank stage tab path NUL; the tag is a small letter for a file whose
  // changes git does not look for.
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos || tab < 2) return std::nullopt;
    const std::size_t oid = line.find(' ', 2);
    if (line[1] != ' ' || oid == std::string_view::npos || oid + 3 > tab) return std::nullopt;
    const std::string_view path = line.substr(tab + 1);
    if (!wanted(path)) continue;
    const int stage = line[tab - 1] - '0';
    if (stage < 0 || stage > 3) return std::nullopt;
    IndexEntry entry{
        {std::string(line.substr(2, oid - 2)), std::string(line.substr(oid + 1, tab - oid - 3))},
        stage};
    index.entries_[std::string(path)].push_back(std::move(entry));
    if (line[0] >= 'a' && line[0] <= 'z') index.assumedUnchanged_.emplace(path);
  }
  return index;
}

const std::vector<IndexEntry>& IndexListing::at(const std::string& path) const {
  static const std::vector<IndexEntry> none;
  const auto found = entries_.find(path);
  return found == entries_.end() ? none : found->second;
}

bool IndexListing::isAssumedUnchanged(const std::string& path) const {
  return assumedUnchanged_.contains(path);
}

}  // namespace kelpie::agent
