// Changes by git, and of the files by which git judges others.
#include <string>

#include "agent/random/WorkTreeChanges.h"

namespace kelpie::agent {
namespace {

// -- Rules ----------------------------------------------------------------------------------------

void writeIgnores(WorkTree& tree) {
  const std::string folder = tree.anyFolder();
  tree.write(folder + "/.gitignore", tree.patterns(), tree.chance(50));
}

void removeIgnores(WorkTree& tree) {
  for (const std::string& file : tree.files())
    if (file.ends_with(".gitignore") && tree.chance(40)) tree.remove(file);
}

void writeExclusions(WorkTree& tree) {
  tree.makeFolder(".git/info");
  tree.write(".git/info/exclude", tree.chance(50) ? tree.patterns() : "");
}

void writeUserIgnores(WorkTree& tree) { tree.writeUserIgnores(); }

void writeAttributes(WorkTree& tree) {
  const std::string folder = tree.anyFolder();
  tree.write(folder + "/.gitattributes", tree.chance(50) ? "* text eol=crlf\n" : "*.c -text\n");
}

// -- The index ------------------------------------------------------------------------------------

template <class... Options>
void onAPath(WorkTree& tree, const Options&... options) {
  const auto path = tree.chance(60) ? tree.aFile() : tree.aFolder();
  if (path) tree.git({options..., "--", *path});
}

template <class... Options>
void onATracked(WorkTree& tree, const Options&... options) {
  if (const auto path = tree.aTrackedPath()) tree.git({options..., "--", *path});
}

void stage(WorkTree& tree) { onAPath(tree, "add", "-A"); }
void stageIgnored(WorkTree& tree) { onAPath(tree, "add", "-f"); }
void announce(WorkTree& tree) {
  onAPath(tree, "add", "-N");
  // What follows is not to be hindered for long.
  if (tree.chance(30)) tree.git({"reset", "-q"});
}
void stageAll(WorkTree& tree) { tree.git({"add", "-A"}); }
void unstage(WorkTree& tree) { onATracked(tree, "reset", "-q"); }
void unstageAll(WorkTree& tree) { tree.git({"reset", "-q"}); }
void takeOutOfIndex(WorkTree& tree) { onATracked(tree, "rm", "-q", "-f", "--cached"); }
void assumeUnchanged(WorkTree& tree) {
  onATracked(tree, "update-index",
             tree.chance(50) ? "--assume-unchanged" : "--no-assume-unchanged");
}
void skipWorktree(WorkTree& tree) {
  onATracked(tree, "update-index", tree.chance(50) ? "--skip-worktree" : "--no-skip-worktree");
}
void moveTracked(WorkTree& tree) {
  if (const auto path = tree.aTrackedPath()) tree.git({"mv", "-k", "--", *path, tree.aPath()});
}
void moveFolder(WorkTree& tree) {
  if (const auto path = tree.aFolder()) tree.git({"mv", "-k", "--", *path, tree.aPath()});
}

// -- History --------------------------------------------------------------------------------------

void commitStaged(WorkTree& tree) { tree.git({"commit", "-q", "-m", "more"}); }
void commitEverything(WorkTree& tree) {
  tree.git({"add", "-A"});
  tree.git({"commit", "-q", "-m", "more"});
}
void discardEverything(WorkTree& tree) { tree.git({"reset", "-q", "--hard"}); }
void switchBranch(WorkTree& tree) {
  tree.git({"checkout", "-q", "-f", tree.chance(50) ? "main" : "other"});
}
void mergeBranch(WorkTree& tree) { tree.git({"merge", "-q", tree.chance(50) ? "main" : "other"}); }
void stashChanges(WorkTree& tree) { tree.git({"stash", tree.chance(50) ? "push" : "pop", "-q"}); }
void clean(WorkTree& tree) { tree.git({"clean", "-q", "-f", "-d"}); }

// -- Repositories inside --------------------------------------------------------------------------

void makeRepository(WorkTree& tree) {
  const std::string folder = tree.aPath();
  tree.makeFolder(folder);
  if (!tree.git({"init", "-q", "-b", "main"}, folder)) return;
  tree.write(folder + "/inner", tree.text());
  if (tree.chance(50)) tree.git({"add", "-A"}, folder);
  if (tree.chance(50)) tree.git({"commit", "-q", "--allow-empty", "-m", "inner"}, folder);
}

void becomesRepository(WorkTree& tree) {
  if (const auto folder = tree.aFolder()) tree.git({"init", "-q", "-b", "main"}, *folder);
}

void isNoRepositoryAnyMore(WorkTree& tree) {
  for (const std::string& folder : tree.folders())
    if (!folder.empty() && tree.chance(30)) tree.remove(folder + "/.git");
}

void changeSubmodule(WorkTree& tree) {
  tree.write("module/f", tree.text());
  if (tree.chance(40)) tree.git({"commit", "-q", "-a", "-m", "inner"}, "module");
}

void updateSubmodule(WorkTree& tree) {
  tree.git({"submodule", "--quiet", tree.chance(70) ? "update" : "deinit", "--force",
            tree.chance(50) ? "--all" : "module"});
  tree.git({"submodule", "--quiet", "update", "--init", "--force"});
}

void changeSparseness(WorkTree& tree) {
  const auto folder = tree.aFolder();
  if (!folder || tree.chance(60))
    tree.git({"sparse-checkout", tree.chance(50) ? "disable" : "reapply"});
  else
    tree.git({"sparse-checkout", "set", tree.chance(50) ? "--cone" : "--no-cone", *folder});
}

constexpr WorkTreeChange kGitTreeChanges[] = {
    {"a list of ignored files is written", 6, writeIgnores},
    {"lists of ignored files go", 4, removeIgnores},
    {"the repository's list of ignored files", 2, writeExclusions},
    {"the user's list of ignored files", 1, writeUserIgnores},
    {"attributes are written", 1, writeAttributes},
    {"something is staged", 6, stage},
    {"something ignored is staged", 2, stageIgnored},
    {"something is announced", 2, announce},
    {"all is staged", 2, stageAll},
    {"something is unstaged", 3, unstage},
    {"all is unstaged", 2, unstageAll},
    {"something leaves the index", 3, takeOutOfIndex},
    {"something counts as unchanged", 1, assumeUnchanged},
    {"something is skipped", 1, skipWorktree},
    {"a rename is staged", 4, moveTracked},
    {"a folder's rename is staged", 2, moveFolder},
    {"a commit", 2, commitStaged},
    {"a commit of everything", 2, commitEverything},
    {"all is as committed", 1, discardEverything},
    {"another branch", 2, switchBranch},
    {"a merge", 2, mergeBranch},
    {"a stash", 1, stashChanges},
    {"untracked files go", 1, clean},
    {"a repository comes", 2, makeRepository},
    {"a folder becomes a repository", 1, becomesRepository},
    {"repositories are none any more", 2, isNoRepositoryAnyMore},
    {"a submodule changes", 3, changeSubmodule},
    {"a submodule is updated", 1, updateSubmodule},
    {"another part is checked out", 1, changeSparseness},
};

}  // namespace

std::span<const WorkTreeChange> gitTreeChanges() { return kGitTreeChanges; }

}  // namespace kelpie::agent
