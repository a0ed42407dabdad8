// Changes of what git ignores, of its index and of its settings.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "e2e/random/Playground.h"

namespace kelpie {
namespace {

// -- What is ignored ------------------------------------------------------------------------------

std::string ignoreRule(Playground& place) {
  static const std::vector<std::string> rules = {
      "*.txt",       "*.log", "out/", "/a",  "a",  "lib/",   "!readme.md",
      "docs/*",      "*.app", "b",    "src", "*~", "!out/a", "/*/b",
      "**/data.csv", "[a-c]", "-*",   "c*/", ".*", "!.*",    "n*\nb*/"};
  return place.oneOf(rules) + "\n";
}

bool changeRules(Playground& place, const std::string& file) {
  if (place.chance(30))
    place.remove(file);
  else
    place.write(file, ignoreRule(place), place.chance(40));
  return true;
}

bool rootRules(Playground& place) { return changeRules(place, ".gitignore"); }

bool folderRules(Playground& place) {
  const auto folder = place.aFolder();
  return folder && changeRules(place, *folder + "/.gitignore");
}

bool excludeRules(Playground& place) {
  place.addFolder(".git/info");
  return changeRules(place, ".git/info/exclude");
}

bool usersRules(Playground& place) {
  const std::string rules = place.chance(30) ? "" : ignoreRule(place);
  place.session().home().addFile(".config/git/ignore", rules);
  return true;
}

bool attributes(Playground& place) {
  static const std::vector<std::string> lines = {"* text=auto\n", "*.txt text eol=crlf\n",
                                                 "*.md -text\n", "* -diff\n", ""};
  place.write(".gitattributes", place.oneOf(lines));
  return true;
}

bool ignoreAFile(Playground& place) {
  const auto file = place.aFile();
  if (!file || file->find('\n') != std::string::npos) return false;
  place.write(".gitignore", "/" + *file + "\n", true);
  return true;
}

// -- In and out of ignored folders ----------------------------------------------------------------

std::optional<std::string> anIgnoredFolder(Playground& place) {
  std::vector<std::string> others =
      place.list({"ls-files", "-z", "--others", "--ignored", "--exclude-standard", "--directory"});
  std::erase_if(others, [](const std::string& path) { return !path.ends_with('/'); });
  if (others.empty()) return std::nullopt;
  std::string folder = place.oneOf(others);
  folder.pop_back();
  return folder;
}

bool fileLeavesIgnoredFolder(Playground& place) {
  std::string folder = anIgnoredFolder(place).value_or("ignored");
  if (folder == "ignored") {
    place.addFolder(folder);
    place.write("ignored/inside", place.text());
    place.write(".git/info/exclude", "/ignored/\n", true);
  }
  const std::vector<std::string> files = place.files();
  for (const std::string& file : files)
    if (file.starts_with(folder + "/")) return place.rename(file, place.newPathIn(""));
  return false;
}

bool fileEntersIgnoredFolder(Playground& place) {
  const auto folder = anIgnoredFolder(place);
  const auto file = place.aFile();
  return folder && file && place.rename(*file, place.newPathIn(*folder));
}

bool folderLeavesIgnoredFolder(Playground& place) {
  const auto folder = anIgnoredFolder(place);
  if (!folder) return false;
  for (const std::string& inner : place.folders())
    if (inner.starts_with(*folder + "/")) return place.rename(inner, place.newPathIn(""));
  place.addFolder(*folder + "/deep");
  place.write(*folder + "/deep/file", place.text());
  return true;
}

// -- The index ------------------------------------------------------------------------------------

bool addFile(Playground& place) {
  const auto file = place.aFile();
  return file && place.git({"add", "-f", "--", *file});
}

bool addAll(Playground& place) { return place.git({"add", "-A"}); }

bool addTracked(Playground& place) { return place.git({"add", "-u"}); }

// As "git add -p" leaves a file: a part of what changed is in the index.
bool addPart(Playground& place) {
  const auto file = place.aPlainFile();
  if (!file) return false;
  place.write(*file, place.text(), true);
  if (!place.git({"add", "-f", "--", *file})) return false;
  place.write(*file, place.text(), true);
  return true;
}

bool announceFile(Playground& place) {
  const auto file = place.aFile();
  return file && place.git({"add", "-f", "-N", "--", *file});
}

bool takeOutOfIndex(Playground& place) {
  const auto file = place.aTrackedFile();
  return file && place.git({"rm", "-q", "-f", "--cached", "--", *file});
}

// What was taken out is announced again.
bool takeOutAndAnnounce(Playground& place) { return takeOutOfIndex(place) && announceFile(place); }

bool removeByGit(Playground& place) {
  const auto file = place.aTrackedFile();
  return file && place.git({"rm", "-q", "-f", "--", *file});
}

bool moveByGit(Playground& place) {
  const auto file = place.aTrackedFile();
  return file && place.git({"mv", "--", *file, place.newPath()});
}

bool moveFolderByGit(Playground& place) {
  const auto folder = place.aFolder();
  const std::string to = place.newPath();
  return folder && !to.starts_with(*folder) && place.git({"mv", "-k", "--", *folder, to});
}

bool changeModeInIndex(Playground& place) {
  const auto file = place.aTrackedFile();
  return file &&
         place.git({"update-index", place.chance(50) ? "--chmod=+x" : "--chmod=-x", "--", *file});
}

bool assumeUnchanged(Playground& place) {
  const auto file = place.aTrackedFile();
  static const std::vector<std::string> flags = {"--assume-unchanged", "--no-assume-unchanged",
                                                 "--skip-worktree", "--no-skip-worktree"};
  return file && place.git({"update-index", place.oneOf(flags), "--", *file});
}

bool refreshIndex(Playground& place) {
  place.git({"update-index", "-q", "--really-refresh"});
  return true;
}

bool loseIndex(Playground& place) {
  place.remove(".git/index");
  return place.chance(50) ? place.git({"reset", "-q"}) : true;
}

// -- Settings and upkeep --------------------------------------------------------------------------

bool changeSetting(Playground& place) {
  struct Setting {
    std::string key;
    std::string value;
  };
  static const std::vector<Setting> settings = {
      {"core.fileMode", "false"}, {"core.fileMode", "true"},     {"core.symlinks", "true"},
      {"status.renames", "no"},   {"status.renames", "copies"},  {"core.ignoreCase", "true"},
      {"diff.renames", "no"},     {"core.ignoreCase", "false"},  {"core.autocrlf", "input"},
      {"core.trustctime", "no"},  {"core.autocrlf", "false"},    {"core.quotePath", "no"},
      {"feature.manyFiles", "1"}, {"core.untrackedCache", "yes"}};
  const Setting& setting = place.oneOf(settings);
  return place.git({"config", setting.key, setting.value});
}

bool unsetSettings(Playground& place) {
  for (const char* key : {"core.fileMode", "status.renames", "diff.renames", "core.ignoreCase",
                          "core.autocrlf", "core.trustctime", "feature.manyFiles"})
    place.git({"config", "--unset-all", key});
  return true;
}

bool usersExcludesFile(Playground& place) {
  place.session().home().addFile("lists/ignored", ignoreRule(place));
  if (place.chance(50)) return place.git({"config", "core.excludesFile", "~/lists/ignored"});
  place.git({"config", "--unset-all", "core.excludesFile"});
  return true;
}

bool collectGarbage(Playground& place) { return place.git({"gc", "-q"}); }

bool packReferences(Playground& place) { return place.git({"pack-refs", "--all", "--prune"}); }

bool cleanUp(Playground& place) {
  return place.git({"clean", "-q", "-d", "-f", place.chance(50) ? "-x" : "-f"});
}

constexpr ChangeKind kGitChanges[] = {
    {"rules of the root", 3, rootRules},
    {"rules of a folder", 2, folderRules},
    {"rules in info/exclude", 2, excludeRules},
    {"rules of the user", 2, usersRules},
    {"core.excludesFile", 2, usersExcludesFile},
    {"attributes", 1, attributes},
    {"a file is ignored by name", 2, ignoreAFile},
    {"a file leaves an ignored folder", 3, fileLeavesIgnoredFolder},
    {"a file enters an ignored folder", 2, fileEntersIgnoredFolder},
    {"a folder leaves an ignored folder", 2, folderLeavesIgnoredFolder},
    {"git add of a file", 5, addFile},
    {"git add --all", 3, addAll},
    {"git add --update", 2, addTracked},
    {"git add of a part", 3, addPart},
    {"git add --intent-to-add", 2, announceFile},
    {"git rm --cached", 3, takeOutOfIndex},
    {"git rm --cached and add --intent-to-add", 1, takeOutAndAnnounce},
    {"git rm", 2, removeByGit},
    {"git mv of a file", 3, moveByGit},
    {"git mv of a folder", 2, moveFolderByGit},
    {"git update-index --chmod", 1, changeModeInIndex},
    {"git update-index --assume-unchanged and the like", 2, assumeUnchanged},
    {"git update-index --really-refresh", 1, refreshIndex},
    {"the index is lost", 1, loseIndex},
    {"a setting", 2, changeSetting},
    {"settings are unset", 1, unsetSettings},
    {"git gc", 1, collectGarbage},
    {"git pack-refs", 1, packReferences},
    {"git clean", 1, cleanUp},
};

}  // namespace

std::span<const ChangeKind> gitChanges() { return kGitChanges; }

}  // namespace kelpie
