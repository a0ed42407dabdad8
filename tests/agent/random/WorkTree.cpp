#include "agent/random/WorkTree.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// Few, so that changes meet; many of them stand close to another one with its slash, or mean
// something to git, a shell or a list of patterns.
constexpr std::array<std::string_view, 30> kNames = {
    "a",        "a!",   "a.",       "a0",        "b",          "b",         "c",   "d",
    "build",    "x.o",  "y.o",      "keep",      "sub",        "lib",       "e.c", "f.c",
    "-dash",    ":top", ":(glob)*", "*.c",       "[ab]",       "q\"u'o te", "?",   "line\nend",
    "\xff\xfe", "\x01", "\\back",   "\xc3\xa4o", "!important", "#hash"};

constexpr std::array<std::string_view, 16> kPatterns = {
    "*.o", "build/", "build", "/a",      "b/",        "!x.o",   "*",   "c/*",
    "!c",  "sub/*",  "!keep", "\\#hash", "[ab]/[ab]", "a/**/b", "/d/", "!/d/b"};

bool isGit(const fs::path& path) { return path.filename() == ".git"; }

}  // namespace

WorkTree::WorkTree(Random& random) : random_(random) {
  sandbox_.init("lib");
  sandbox_.write("lib/f", "1\n");
  sandbox_.commitAll("lib", "one");
  sandbox_.init("r");
  git({"config", "user.name", "Tester"});
  if (chance(8)) {
    layout_ = "no commit yet";
  } else {
    for (int i = 0; i < 25; ++i) {
      if (chance(40)) makeFolder(anyFolder() + "/" + std::string(oneOf(kNames)));
      write(aPath(), text());
    }
    if (chance(50)) write(".gitignore", patterns());
    git({"add", "-f", "-A"});
    if (chance(40)) git({"submodule", "--quiet", "add", "-f", "../lib", "module"});
    git({"commit", "-q", "--allow-empty", "-m", "one"});
    git({"branch", "other"});
  }
  addLayout(20, "untracked cache", {"update-index", "--force-untracked-cache"});
  addLayout(20, "split index", {"update-index", "--split-index"});
  addLayout(15, "index version 4", {"update-index", "--index-version", "4"});
  addLayout(8, "sparse index", {"sparse-checkout", "set", "--cone", "--sparse-index", "a", "b"});
  addLayout(8, "sparse", {"sparse-checkout", "set", "--no-cone", "/a", "*.c"});
  addLayout(10, "modes do not count", {"config", "core.fileMode", "false"});
  addLayout(10, "links are files", {"config", "core.symlinks", "false"});
  addLayout(15, "copies are found", {"config", "status.renames", "copies"});
  addLayout(5, "renames are not looked for", {"config", "status.renames", "false"});
  addLayout(10, "few renames are found", {"config", "diff.renameLimit", "1"});
  addLayout(10, "folders of untracked files", {"config", "status.showUntrackedFiles", "normal"});
  addLayout(5, "submodules are not looked into", {"config", "diff.ignoreSubmodules", "dirty"});
  addLayout(3, "case does not count", {"config", "core.ignoreCase", "true"});
}

void WorkTree::addLayout(unsigned percent, const char* name, const Arguments& arguments) {
  if (chance(percent) && git(arguments)) layout_.append(layout_.empty() ? "" : ", ").append(name);
}

std::string WorkTree::operator/(std::string_view path) const {
  return sandbox_.path("r") + (path.empty() ? "" : "/") + std::string(path);
}

void WorkTree::walk(std::vector<std::string>* files, std::vector<std::string>* folders) const {
  const std::size_t start = (*this / "").size() + 1;
  std::error_code error;
  for (fs::recursive_directory_iterator at(*this / "", error), end; !error && at != end;
       at.increment(error)) {
    const bool isFolder = at->is_directory(error) && !at->is_symlink(error);
    if (isGit(at->path())) {
      if (isFolder) at.disable_recursion_pending();
      continue;
    }
    std::vector<std::string>* list = isFolder ? folders : files;
    if (list != nullptr) list->push_back(at->path().native().substr(start));
  }
}

std::vector<std::string> WorkTree::files() const {
  std::vector<std::string> all;
  walk(&all, nullptr);
  std::ranges::sort(all);
  return all;
}

std::vector<std::string> WorkTree::folders() const {
  std::vector<std::string> all = {""};
  walk(nullptr, &all);
  std::ranges::sort(all);
  return all;
}

std::optional<std::string> WorkTree::aFile() {
  const std::vector<std::string> all = files();
  if (all.empty()) return std::nullopt;
  std::string chosen = oneOf(all);
  return isLinkedUnseen(chosen) ? std::nullopt : std::optional(std::move(chosen));
}

bool WorkTree::isLinkedUnseen(const std::string& path) const {
  std::error_code error;
  if (fs::hard_link_count(*this / path, error) < 2 || error) return false;
  for (fs::path above = fs::path(path).parent_path(); !above.empty(); above = above.parent_path())
    if (fs::exists(fs::symlink_status(*this / (above / ".git").native(), error))) return true;
  return sandbox_.tryGit("r", {"check-ignore", "-q", "--", "./" + path}).succeeded();
}

std::optional<std::string> WorkTree::aFolder() {
  std::vector<std::string> all = folders();
  all.erase(all.begin());
  return all.empty() ? std::nullopt : std::optional(oneOf(all));
}

std::optional<std::string> WorkTree::aTrackedPath() {
  const std::string listed = sandbox_.tryGit("r", {"ls-files", "-z"}).output;
  std::vector<std::string> all;
  for (std::string_view rest = listed; !rest.empty();) {
    all.emplace_back(rest.substr(0, rest.find('\0')));
    rest.remove_prefix(all.back().size() + 1);
  }
  return all.empty() ? std::nullopt : std::optional(oneOf(all));
}

std::string WorkTree::aPath() {
  const std::string folder = anyFolder();
  return folder + (folder.empty() ? "" : "/") + std::string(oneOf(kNames));
}

// Long enough for git to find that a file was renamed and changed a little.
std::string WorkTree::text() {
  std::string text;
  const std::size_t kind = below(4);
  for (std::size_t i = 0; i < 8; ++i) text += "line " + std::to_string(kind * i) + " of a file\n";
  return chance(50) ? text : text + std::to_string(below(3)) + "\n";
}

std::string WorkTree::patterns() {
  std::string lines;
  for (std::size_t i = below(3) + 1; i > 0; --i) lines += std::string(oneOf(kPatterns)) + "\n";
  return lines;
}

void WorkTree::write(const std::string& path, std::string_view content, bool append) const {
  std::ofstream(*this / path, std::ios::binary | (append ? std::ios::app : std::ios::trunc))
      << content;
}

void WorkTree::makeFolder(const std::string& path) const {
  std::error_code ignored;
  fs::create_directories(*this / path, ignored);
}

void WorkTree::remove(const std::string& path) const {
  std::error_code ignored;
  fs::remove_all(*this / path, ignored);
}

void WorkTree::rename(const std::string& from, const std::string& to) const {
  std::error_code ignored;
  fs::rename(*this / from, *this / to, ignored);
}

bool WorkTree::git(const Arguments& arguments, std::string_view folder) const {
  const std::string at = folder.empty() ? "r" : "r/" + std::string(folder);
  Arguments all = {"--literal-pathspecs", "-c", "core.hooksPath=/dev/null"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return sandbox_.tryGit(at, all).succeeded();
}

bool WorkTree::takeSettingsChange() { return std::exchange(settingsChanged_, false); }

void WorkTree::writeUserIgnores() {
  sandbox_.write(".config/git/ignore", chance(50) ? patterns() : "");
  settingsChanged_ = true;
}

}  // namespace kelpie::agent
