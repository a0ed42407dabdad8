// Changes of commits, branches and stashes, and everything that stops in a conflict.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "e2e/random/Playground.h"

namespace kelpie {
namespace {

// -- Commits and branches -------------------------------------------------------------------------

bool commitIndex(Playground& place) { return place.git({"commit", "-q", "-m", "Index"}); }

bool commitAll(Playground& place) { return place.git({"commit", "-q", "-a", "-m", "All"}); }

bool amend(Playground& place) {
  return place.git({"commit", "-q", "--amend", "--allow-empty", "--no-edit"});
}

std::string newBranchName(Playground& place) {
  return (place.chance(30) ? "topic/" : "branch-") + std::to_string(place.below(20));
}

std::optional<std::string> aBranch(Playground& place) {
  const std::string output =
      place.ask({"for-each-ref", "--format=%(refname:short)%00", "refs/heads", "refs/tags"});
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin < output.size();) {
    const std::size_t end = std::min(output.find('\0', begin), output.size());
    if (end > begin) names.push_back(output.substr(begin, end - begin));
    begin = end + 2;
  }
  return names.empty() ? std::nullopt : std::optional(place.oneOf(names));
}

bool newBranch(Playground& place) {
  return place.git({"branch", "-f", newBranchName(place), "HEAD"});
}

bool newTag(Playground& place) {
  return place.git({"tag", "-f", "tag-" + std::to_string(place.below(5))});
}

bool switchToNew(Playground& place) {
  return place.git({"checkout", "-q", "-B", newBranchName(place)});
}

bool switchTo(Playground& place) {
  const auto branch = aBranch(place);
  return branch &&
         (place.git({"checkout", "-q", *branch}) || place.git({"checkout", "-q", "-f", *branch}));
}

bool detach(Playground& place) {
  return place.git({"checkout", "-q", "--detach", place.chance(50) ? "HEAD" : "HEAD~1"});
}

// HEAD moves, and nothing else.
bool moveHead(Playground& place) {
  const auto branch = aBranch(place);
  return branch && place.git({"reset", "-q", "--soft", *branch});
}

bool orphan(Playground& place) {
  return place.git({"checkout", "-q", "--orphan", "orphan-" + std::to_string(place.below(1000))});
}

// -- Back -----------------------------------------------------------------------------------------

bool resetIndex(Playground& place) { return place.git({"reset", "-q"}); }

bool resetToParent(Playground& place) {
  return place.git({"reset", "-q", place.chance(50) ? "--mixed" : "--soft", "HEAD~1"});
}

bool resetHard(Playground& place) { return place.git({"reset", "-q", "--hard"}); }

bool resetFile(Playground& place) {
  const auto file = place.aTrackedFile();
  return file && place.git({"reset", "-q", "--", *file});
}

bool checkoutFile(Playground& place) {
  const std::vector<std::string> tracked = place.list({"ls-files", "-z"});
  return !tracked.empty() && place.git({"checkout", "-q", "-f", "--", place.oneOf(tracked)});
}

bool checkoutOldFile(Playground& place) {
  const std::vector<std::string> old = place.list({"ls-tree", "-r", "-z", "--name-only", "HEAD~1"});
  return !old.empty() && place.git({"checkout", "-q", "HEAD~1", "--", place.oneOf(old)});
}

bool stash(Playground& place) {
  return place.git({"stash", "push", "-q", place.chance(50) ? "--include-untracked" : "-q"});
}

bool unstash(Playground& place) {
  return place.git({"stash", place.chance(70) ? "pop" : "apply", "-q"});
}

// -- Conflicts ------------------------------------------------------------------------------------

// What the two sides of a conflict do.
struct Sides {
  bool (*ours)(Playground& place, const std::string& file);
  bool (*theirs)(Playground& place, const std::string& file);
};

bool edits(Playground& place, const std::string& file) {
  place.write(file, "edited " + std::to_string(place.below(1'000'000)) + "\n");
  return true;
}
bool deletes(Playground& place, const std::string& file) {
  place.remove(file);
  return true;
}
bool renames(Playground& place, const std::string& file) {
  return place.rename(file, place.newPath());
}
bool addsFolder(Playground& place, const std::string& file) {
  place.remove(file);
  place.addFolder(file);
  place.write(file + "/inside", place.text());
  return true;
}

constexpr Sides kBothModified = {edits, edits};     // UU
constexpr Sides kDeletedByThem = {edits, deletes};  // UD
constexpr Sides kDeletedByUs = {deletes, edits};    // DU
constexpr Sides kBothRenamed = {renames, renames};  // DD, AU, UA
constexpr Sides kFolderAgainstFile = {addsFolder, edits};
constexpr Sides kRenamedAgainstDeleted = {renames, deletes};

enum class By { Merge, Rebase, CherryPick, Revert, Stash };

// Two branches that do not fit, brought together.
bool bringTogether(Playground& place, const Sides& sides, const std::string& file, By how) {
  const std::string ours = "ours-" + std::to_string(place.below(1'000'000));
  const std::string theirs = "their" + ours;
  if (!place.git({"checkout", "-q", "-b", theirs}) || !sides.theirs(place, file)) return false;
  place.git({"add", "-f", "-A"});
  place.git({"commit", "-q", "--allow-empty", "-m", "Theirs"});
  if (!place.git({"checkout", "-q", "-b", ours, "HEAD~1"}) || !sides.ours(place, file))
    return false;
  if (how == By::Stash) {
    place.git({"stash", "push", "-q", "--include-untracked"});
    place.git({"checkout", "-q", theirs});
    return !place.git({"stash", "pop", "-q"});
  }
  place.git({"add", "-f", "-A"});
  place.git({"commit", "-q", "--allow-empty", "-m", "Ours"});
  if (how == By::Rebase) return !place.git({"rebase", "-q", theirs});
  if (how == By::CherryPick) return !place.git({"cherry-pick", theirs});
  if (how == By::Revert) {
    place.write(file, "edited once more\n");
    place.git({"commit", "-q", "-a", "-m", "More"});
    return !place.git({"revert", "--no-edit", "HEAD~1"});
  }
  return !place.git({"merge", "-q", "--no-edit", theirs});
}

bool conflict(Playground& place, const Sides& sides, By how) {
  if (!place.settle()) return false;
  std::optional<std::string> file = place.aTrackedFile();
  if (!file) return false;
  // Enough content for a rename to be recognised.
  place.write(*file + ".x", "first\nsecond\nthird\nfourth\nfifth\nsixth\nseventh\n" +
                                std::to_string(place.below(1000)) + "\n");
  *file += ".x";
  place.git({"add", "-f", "--", *file});
  place.git({"commit", "-q", "-m", "To be in conflict"});
  return bringTogether(place, sides, *file, how);
}

bool conflictBothModified(Playground& place) { return conflict(place, kBothModified, By::Merge); }
bool conflictDeletedByThem(Playground& place) { return conflict(place, kDeletedByThem, By::Merge); }
bool conflictDeletedByUs(Playground& place) { return conflict(place, kDeletedByUs, By::Merge); }
bool conflictBothRenamed(Playground& place) { return conflict(place, kBothRenamed, By::Merge); }
bool conflictFolderAgainstFile(Playground& place) {
  return conflict(place, kFolderAgainstFile, By::Merge);
}
bool conflictRenamedAgainstDeleted(Playground& place) {
  return conflict(place, kRenamedAgainstDeleted, By::Merge);
}
bool rebaseStops(Playground& place) {
  return conflict(place, place.chance(50) ? kBothModified : kDeletedByUs, By::Rebase);
}
bool cherryPickStops(Playground& place) {
  return conflict(place, place.chance(50) ? kBothModified : kDeletedByThem, By::CherryPick);
}
bool revertStops(Playground& place) { return conflict(place, kBothModified, By::Revert); }
bool stashStops(Playground& place) { return conflict(place, kBothModified, By::Stash); }

// AA: the same new name on both sides.
bool conflictBothAdded(Playground& place) {
  if (!place.settle()) return false;
  return bringTogether(place, kBothModified, place.newPath(), By::Merge);
}

// -- Out of conflicts -----------------------------------------------------------------------------

std::vector<std::string> unmerged(Playground& place) {
  std::vector<std::string> paths = place.list({"diff", "--name-only", "-z", "--diff-filter=U"});
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  return paths;
}

bool resolveOne(Playground& place) {
  const std::vector<std::string> paths = unmerged(place);
  if (paths.empty()) return false;
  const std::string& path = place.oneOf(paths);
  return place.chance(50) ? place.git({"add", "-f", "--", path})
                          : place.git({"rm", "-q", "-f", "--", path});
}

bool keepOneSide(Playground& place) {
  const std::vector<std::string> paths = unmerged(place);
  return !paths.empty() && place.git({"checkout", place.chance(50) ? "--ours" : "--theirs", "--",
                                      place.oneOf(paths)});
}

std::string underWay(const Playground& place) {
  if (place.isUnderWay("MERGE_HEAD")) return "merge";
  if (place.isUnderWay("rebase-merge") || place.isUnderWay("rebase-apply")) return "rebase";
  if (place.isUnderWay("CHERRY_PICK_HEAD")) return "cherry-pick";
  return place.isUnderWay("REVERT_HEAD") ? "revert" : "";
}

bool giveUp(Playground& place) {
  const std::string what = underWay(place);
  return !what.empty() && place.git({what, "--abort"});
}

bool goOn(Playground& place) {
  const std::string what = underWay(place);
  if (what.empty()) return false;
  place.git({"add", "-A"});
  return place.git({what, "--continue"});
}

bool startAfresh(Playground& place) { return place.settle(); }

constexpr ChangeKind kHistoryChanges[] = {
    {"git commit", 3, commitIndex},
    {"git commit --all", 3, commitAll},
    {"git commit --amend", 2, amend},
    {"a new branch", 1, newBranch},
    {"a new tag", 1, newTag},
    {"a switch to a new branch", 2, switchToNew},
    {"a switch to another branch", 4, switchTo},
    {"a detached HEAD", 1, detach},
    {"git reset --soft to another branch", 1, moveHead},
    {"git checkout --orphan", 1, orphan},
    {"git reset", 2, resetIndex},
    {"git reset to the parent", 2, resetToParent},
    {"git reset --hard", 2, resetHard},
    {"git reset of a file", 2, resetFile},
    {"git checkout of a file", 3, checkoutFile},
    {"git checkout of an old file", 2, checkoutOldFile},
    {"git stash push", 2, stash},
    {"git stash pop", 2, unstash},
    {"a conflict: both modified", 2, conflictBothModified},
    {"a conflict: both added", 2, conflictBothAdded},
    {"a conflict: deleted by them", 2, conflictDeletedByThem},
    {"a conflict: deleted by us", 2, conflictDeletedByUs},
    {"a conflict: both renamed", 2, conflictBothRenamed},
    {"a conflict: folder and file", 1, conflictFolderAgainstFile},
    {"a conflict: renamed and deleted", 1, conflictRenamedAgainstDeleted},
    {"a rebase stops", 2, rebaseStops},
    {"a cherry-pick stops", 2, cherryPickStops},
    {"a revert stops", 1, revertStops},
    {"a stash does not fit", 1, stashStops},
    {"a conflict is resolved", 6, resolveOne},
    {"one side of a conflict is taken", 3, keepOneSide},
    {"what stopped is given up", 2, giveUp},
    {"what stopped goes on", 3, goOn},
    {"everything is committed", 1, startAfresh},
};

}  // namespace

std::span<const ChangeKind> historyChanges() { return kHistoryChanges; }

}  // namespace kelpie
