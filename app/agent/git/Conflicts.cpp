#include "agent/git/Conflicts.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "agent/git/PathScope.h"

namespace kelpie::agent {

Conflicts Conflicts::read(const GitCommand& git, const std::vector<std::string>& within) {
  Conflicts conflicts;
  const ProgramResult listed = git.ask({"ls-files", "--unmerged", "-z"});
  if (!listed.succeeded()) return conflicts;
  const PathScope scope(within);
  // mode blank oid blank stage tab path NUL
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    const std::size_t tab = entry.find('\t');
    if (tab == std::string_view::npos || tab == 0) continue;
    const std::string_view path = entry.substr(tab + 1);
    const char stage = entry[tab - 1];
    if (stage < '1' || stage > '3') continue;
    if (!scope.contains(path)) continue;
    conflicts.stages_[std::string(path)] |= 1U << static_cast<unsigned>(stage - '0');
    if (entry.starts_with("160000 ")) conflicts.hasSubmodule_ = true;
  }
  return conflicts;
}

std::vector<std::string> Conflicts::paths() const {
  std::vector<std::string> all;
  for (const auto& [path, stages] : stages_) all.push_back(path);
  return all;
}

bool Conflicts::has(const std::string& path, int stage) const {
  const auto found = stages_.find(path);
  return found != stages_.end() && (found->second & (1U << static_cast<unsigned>(stage))) != 0;
}

std::vector<std::string> Conflicts::withStages(int one, int other) const {
  std::vector<std::string> all;
  for (const auto& [path, stages] : stages_)
    if (has(path, one) && has(path, other)) all.push_back(path);
  return all;
}

std::vector<std::string> Conflicts::withoutStage(int stage) const {
  std::vector<std::string> all;
  for (const auto& [path, stages] : stages_)
    if (!has(path, stage)) all.push_back(path);
  return all;
}

}  // namespace kelpie::agent
