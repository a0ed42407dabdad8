#include "agent/watch/ChangeRules.h"

#include <algorithm>
#include <string>

namespace kelpie::agent {
namespace {

constexpr Change kNothing{};
constexpr Change kStatus{true, false};
constexpr Change kReferences{false, true};
constexpr Change kBoth{true, true};

// Which working trees a change in a git directory concerns: a linked working tree has an index and
// a HEAD of its own, and shares the rest with the others.
enum class Of { Own, Shared };

// `name` in the folder `folder` of a git directory. An empty name stands for any.
struct Rule {
  std::string_view folder;
  std::string_view name;
  Of of;
  Change change;
  bool andBelow = false;  // also in the folders below
};

// The first row that fits counts; a file that no row names means nothing.
constexpr Rule kRules[] = {
    {"", "index", Of::Own, kStatus},
    {"", "HEAD", Of::Own, kBoth},
    {"", "config", Of::Shared, kBoth},
    {"", "config.worktree", Of::Own, kBoth},
    {"", "packed-refs", Of::Shared, kBoth},
    // What repositoryState() looks for.
    {"", "MERGE_HEAD", Of::Own, kStatus},
    {"", "REVERT_HEAD", Of::Own, kStatus},
    {"", "CHERRY_PICK_HEAD", Of::Own, kStatus},
    {"", "BISECT_LOG", Of::Own, kStatus},
    {"", "rebase-merge", Of::Own, kStatus},
    {"", "rebase-apply", Of::Own, kStatus},
    // Folders that come into being later.
    {"", "refs", Of::Shared, kBoth},
    {"", "info", Of::Shared, kBoth},
    {"", "lfs", Of::Shared, kReferences},
    {"", "logs", Of::Shared, kReferences},
    // The commit that a branch points to is what the index is compared with.
    {"refs", "heads", Of::Shared, kBoth},
    {"refs/heads", "", Of::Shared, kBoth, true},
    // Changes that were put aside before they were discarded, which no menu shows.
    {"refs", "kelpie", Of::Shared, kNothing},
    {"refs/kelpie", "", Of::Shared, kNothing, true},
    {"refs", "", Of::Shared, kReferences, true},
    {"reftable", "", Of::Shared, kBoth},
    // Only their log tells of stashes other than the newest.
    {"logs/refs", "stash", Of::Shared, kReferences},
    {"info", "exclude", Of::Shared, kStatus},
    {"info", "attributes", Of::Shared, kBoth},
    {"info", "sparse-checkout", Of::Own, kStatus},
    // The files in a submodule's git directory that decide whether the submodule counts as changed.
    {"modules", "HEAD", Of::Shared, kStatus, true},
    {"modules", "index", Of::Shared, kStatus, true},
    {"modules", "config", Of::Shared, kStatus, true},
    {"modules", "config.worktree", Of::Shared, kStatus, true},
};

// Files of a working folder by which git judges other items. Written in another case they are the
// same files in some file systems.
constexpr std::string_view kRuleFiles[] = {".git", ".gitignore", ".gitattributes", ".gitmodules"};

bool isSameButForCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

bool isLock(std::string_view name) { return name.ends_with(".lock"); }

bool fits(const Rule& rule, std::string_view folder, std::string_view name) {
  if (!rule.name.empty() && rule.name != name) return false;
  return folder == rule.folder || (rule.andBelow && isWithin(folder, rule.folder));
}

// `path` as seen from `folder`, which holds it.
std::string_view relativeTo(std::string_view path, std::string_view folder) {
  path.remove_prefix(std::min(path.size(), folder.size() + 1));
  return path;
}

Change changeInGitDirectory(std::string_view folder, std::string_view name, bool isOwn) {
  if (isLock(name)) return kNothing;
  for (const Rule& rule : kRules)
    if (fits(rule, folder, name)) return rule.of == Of::Shared || isOwn ? rule.change : kNothing;
  return kNothing;
}

}  // namespace

bool isWithin(std::string_view path, std::string_view folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

Change changeOf(const WorkingCopy& workingCopy, std::string_view folder, std::string_view name) {
  for (const std::string& git : {workingCopy.gitDirectory, workingCopy.commonDirectory})
    if (isWithin(folder, git))
      return changeInGitDirectory(relativeTo(folder, git), name, git == workingCopy.gitDirectory);
  // The git directory of a submodule may also lie in the submodule, or anywhere.
  if (!isWithin(folder, workingCopy.root) || folder.ends_with("/.git") ||
      folder.find("/.git/") != std::string_view::npos)
    return changeInGitDirectory("modules", name, true);
  const bool atRoot = folder == workingCopy.root;
  // Which submodules there are, and what git-lfs keeps.
  if (atRoot && (name == ".gitmodules" || name == ".gitattributes")) return kBoth;
  return kStatus;
}

std::string placeOf(const WorkingCopy& workingCopy, std::string_view folder,
                    std::string_view name) {
  if (!isWithin(folder, workingCopy.root) || isWithin(folder, workingCopy.gitDirectory) ||
      isWithin(folder, workingCopy.commonDirectory) || folder.ends_with("/.git") ||
      folder.find("/.git/") != std::string_view::npos)
    return {};
  if (std::ranges::any_of(kRuleFiles,
                          [&](std::string_view file) { return isSameButForCase(file, name); }))
    return {};
  const std::string_view inside = relativeTo(folder, workingCopy.root);
  if (name.empty() || inside.empty()) return std::string(name.empty() ? inside : name);
  return std::string(inside).append("/").append(name);
}

}  // namespace kelpie::agent
