// Changes of the working folder that git has no part in.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "agent/random/WorkTreeChanges.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

void writeSomewhere(WorkTree& tree) { tree.write(tree.aPath(), tree.text()); }

void rewriteAFile(WorkTree& tree) {
  if (const auto file = tree.aFile()) tree.write(*file, tree.text(), tree.chance(30));
}

void restoreAFile(WorkTree& tree) {
  if (const auto path = tree.aTrackedPath())
    tree.write(*path, tree.sandbox().tryGit("r", {"cat-file", "blob", ":" + *path}).output);
}

// As an editor does: the new content comes under another name.
void replaceAFile(WorkTree& tree) {
  const auto file = tree.aFile();
  if (!file) return;
  tree.write(*file + "~", tree.text());
  tree.rename(*file + "~", *file);
}

void removeAFile(WorkTree& tree) {
  if (const auto file = tree.aFile()) tree.remove(*file);
}

void renameAFile(WorkTree& tree) {
  if (const auto file = tree.aFile()) tree.rename(*file, tree.aPath());
}

void copyAFile(WorkTree& tree) {
  const auto file = tree.aFile();
  std::error_code ignored;
  if (file)
    fs::copy(tree / *file, tree / tree.aPath(),
             fs::copy_options::overwrite_existing | fs::copy_options::copy_symlinks, ignored);
}

void linkAFile(WorkTree& tree) {
  if (const auto file = tree.aFile())
    (void)::link((tree / *file).c_str(), (tree / tree.aPath()).c_str());
}

void makeALink(WorkTree& tree) {
  const std::string path = tree.aPath();
  if (tree.chance(50)) tree.remove(path);
  (void)::symlink(tree.chance(50) ? tree.anyFolder().c_str() : "nowhere", (tree / path).c_str());
}

void toggleExecutable(WorkTree& tree) {
  const auto file = tree.aFile();
  struct stat status {};
  if (file && ::lstat((tree / *file).c_str(), &status) == 0 && S_ISREG(status.st_mode))
    (void)::chmod((tree / *file).c_str(), status.st_mode ^ 0100U);
}

void touchSomething(WorkTree& tree) {
  const auto folder = tree.aFolder();
  const auto file = tree.aFile();
  if (folder && tree.chance(30)) (void)::utimensat(AT_FDCWD, (tree / *folder).c_str(), nullptr, 0);
  if (file) (void)::utimensat(AT_FDCWD, (tree / *file).c_str(), nullptr, AT_SYMLINK_NOFOLLOW);
}

void makeFolders(WorkTree& tree) {
  std::string path = tree.aPath();
  for (std::size_t depth = tree.below(3); depth > 0; --depth)
    path += std::string(1, '/').append(1, static_cast<char>('a' + tree.below(3)));
  tree.makeFolder(path);
  if (tree.chance(60)) tree.write(path + "/b", tree.text());
}

void removeAFolder(WorkTree& tree) {
  if (const auto folder = tree.aFolder()) tree.remove(*folder);
}

void renameAFolder(WorkTree& tree) {
  if (const auto folder = tree.aFolder()) tree.rename(*folder, tree.aPath());
}

// One after the other in a fixed order: a run can be repeated.
void copyAFolder(WorkTree& tree) {
  const auto folder = tree.aFolder();
  const std::string to = tree.aPath();
  if (!folder || to.starts_with(*folder)) return;
  const bool asLinks = tree.chance(30);
  tree.makeFolder(to);
  for (const std::string& each : tree.folders())
    if (each.starts_with(*folder + "/")) tree.makeFolder(to + each.substr(folder->size()));
  for (const std::string& each : tree.files()) {
    if (!each.starts_with(*folder + "/")) continue;
    const std::string copy = to + each.substr(folder->size());
    std::error_code ignored;
    if (asLinks)
      fs::create_hard_link(tree / each, tree / copy, ignored);
    else
      fs::copy(tree / each, tree / copy, fs::copy_options::copy_symlinks, ignored);
  }
}

void exchangeFolders(WorkTree& tree) {
  const auto one = tree.aFolder();
  const auto other = tree.aFolder();
  if (!one || !other || other->starts_with(*one) || one->starts_with(*other)) return;
  tree.rename(*one, "aside");
  tree.rename(*other, *one);
  tree.rename("aside", *other);
}

void fileBecomesFolder(WorkTree& tree) {
  const auto file = tree.aFile();
  if (!file) return;
  tree.remove(*file);
  tree.makeFolder(*file);
  if (tree.chance(70)) tree.write(*file + "/a", tree.text());
}

void folderBecomesFile(WorkTree& tree) {
  const auto folder = tree.aFolder();
  if (!folder) return;
  tree.remove(*folder);
  tree.write(*folder, tree.text());
}

void folderBecomesLink(WorkTree& tree) {
  const auto folder = tree.aFolder();
  if (!folder) return;
  tree.rename(*folder, "elsewhere");
  (void)::symlink((tree / "elsewhere").c_str(), (tree / *folder).c_str());
}

void writeABurst(WorkTree& tree) {
  const std::string folder = tree.anyFolder();
  for (std::size_t i = tree.below(50); i > 0; --i)
    tree.write(folder + "/burst" + std::to_string(i % 12), tree.text());
}

void removeABurst(WorkTree& tree) {
  for (const std::string& file : tree.files())
    if (file.find("burst") != std::string::npos && tree.chance(70)) tree.remove(file);
}

constexpr WorkTreeChange kFileTreeChanges[] = {
    {"a file is written", 10, writeSomewhere},
    {"a file changes", 12, rewriteAFile},
    {"a file is as in the index", 8, restoreAFile},
    {"a file is replaced", 6, replaceAFile},
    {"a file goes", 8, removeAFile},
    {"a file is renamed", 8, renameAFile},
    {"a file is copied", 4, copyAFile},
    {"a file gets a second name", 2, linkAFile},
    {"a link comes", 3, makeALink},
    {"a mode changes", 3, toggleExecutable},
    {"a time changes", 2, touchSomething},
    {"folders come", 8, makeFolders},
    {"a folder goes", 2, removeAFolder},
    {"a folder is renamed", 6, renameAFolder},
    {"a folder is copied", 3, copyAFolder},
    {"two folders change places", 2, exchangeFolders},
    {"a file becomes a folder", 3, fileBecomesFolder},
    {"a folder becomes a file", 1, folderBecomesFile},
    {"a folder becomes a link", 1, folderBecomesLink},
    {"many files are written", 2, writeABurst},
    {"many files go", 4, removeABurst},
};

}  // namespace

std::span<const WorkTreeChange> fileTreeChanges() { return kFileTreeChanges; }

}  // namespace kelpie::agent
