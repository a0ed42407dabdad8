#include "agent/git/StatusPlan.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "agent/git/PathScope.h"
#include "agent/git/StatusOrder.h"

namespace kelpie::agent {
namespace {

using Items = std::vector<StatusItem>;

// What is known of the whole allows no change in a part of it.
struct Hindrance {
  const char* why;
  bool (*isThere)(const StatusSnapshot& known);
};
constexpr Hindrance kHindrances[] = {
    {"the terms of the last reading are not known",
     [](const StatusSnapshot& known) { return known.terms() == nullptr; }},
    {"untracked items are not asked for",
     [](const StatusSnapshot& known) { return !known.untrackedShown(); }},
    {"names are compared without regard to case",
     [](const StatusSnapshot& known) { return known.terms()->ignoresCase; }},
    // It may be paired with any file that is deleted, wherever that is.
    {"a file is announced to the index without its content",
     [](const StatusSnapshot& known) {
       return std::ranges::any_of(known.items(), &StatusItem::isAnnounced);
     }},
    {"a deleted file is named, and another one may be hidden by a file in conflict",
     [](const StatusSnapshot& known) {
       return std::ranges::any_of(known.items(), &StatusItem::isInConflict) &&
              std::ranges::any_of(known.items(), &StatusItem::isMissing);
     }},
};

std::string changedPath(const std::string& folder, const std::string& name) {
  return folder.empty() ? name : folder + "/" + name;
}

// The paths that hold all changed entries. The root itself is not among them: absent when it would
// have to be.
std::optional<std::set<std::string>> pathsFor(const ChangedPlaces& places) {
  std::size_t names = 0;
  bool areMany = false;
  for (const auto& [folder, entries] : places.folders()) {
    names += entries.names.size();
    areMany |= entries.areMany;
  }
  const bool byName = !areMany && names <= StatusPlan::kMostNames;
  std::set<std::string> paths;
  for (const auto& [folder, entries] : places.folders()) {
    if (folder.empty() && entries.areMany) return std::nullopt;
    if (!byName && !folder.empty())
      paths.insert(folder);
    else
      for (const std::string& name : entries.names) paths.insert(changedPath(folder, name));
  }
  return paths;
}

// What lies in a folder that is one item is not asked for by itself.
std::string upToFolderItem(const Items& known, const std::string& path) {
  for (std::size_t slash = path.find('/'); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    std::string above = path.substr(0, slash);
    if (isFolderItem(known, above)) return above;
  }
  return path;
}

bool isBelowAnother(const std::set<std::string>& paths, std::string_view path) {
  for (std::size_t slash = path.rfind('/'); slash != std::string_view::npos && slash > 0;
       slash = path.rfind('/', slash - 1))
    if (paths.contains(std::string(path.substr(0, slash)))) return true;
  return false;
}

// Git pairs the two names of a renamed file only when it is asked for both.
bool touchesRename(const Items& known, const std::vector<std::string>& paths) {
  const PathScope scope(paths);
  return std::ranges::any_of(known, [&](const StatusItem& item) {
    return !item.renamedFrom.empty() &&
           (scope.contains(item.path) || scope.contains(item.renamedFrom));
  });
}

// A deleted file that is much like it may be hidden by it, wherever that is.
bool touchesConflict(const Items& known, const std::vector<std::string>& paths) {
  const PathScope scope(paths);
  return std::ranges::any_of(known, [&](const StatusItem& item) {
    return item.isInConflict() && scope.contains(item.path);
  });
}

StatusPlan readWhole(std::string why) { return {{}, std::move(why)}; }

}  // namespace

StatusPlan StatusPlan::of(const StatusSnapshot* known, const ChangedPlaces& places) {
  if (known == nullptr) return readWhole("nothing is known yet");
  if (places.isEverything()) return readWhole("anything may have changed");
  if (places.isEmpty()) return readWhole("it is not known what has changed");
  for (const Hindrance& hindrance : kHindrances)
    if (hindrance.isThere(*known)) return readWhole(hindrance.why);

  const std::optional<std::set<std::string>> changed = pathsFor(places);
  if (!changed) return readWhole("much has changed in the root");
  std::set<std::string> asked;
  for (const std::string& path : *changed) asked.insert(upToFolderItem(known->items(), path));
  StatusPlan plan;
  for (const std::string& path : asked)
    if (!isBelowAnother(asked, path)) plan.paths.push_back(path);
  if (plan.paths.size() > kMostPaths) return readWhole("changes in too many places");
  if (touchesRename(known->items(), plan.paths))
    return readWhole("a renamed file may be concerned");
  if (touchesConflict(known->items(), plan.paths))
    return readWhole("a file in conflict may be concerned");
  return plan;
}

}  // namespace kelpie::agent
