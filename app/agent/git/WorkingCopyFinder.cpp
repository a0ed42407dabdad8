#include "agent/git/WorkingCopyFinder.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "linux/base/RegularFile.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// What the system takes for a path.
constexpr std::size_t kLongestPath = 4096;

bool isThere(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

bool looksBare(const fs::path& folder) {
  std::error_code ignored;
  return isThere(folder / "HEAD") && fs::is_directory(folder / "objects", ignored) &&
         fs::is_directory(folder / "refs", ignored);
}

// What git printed, without the one line end after it: a path may hold line ends of its own.
std::string_view lineWithoutEnd(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

std::string_view cutLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

bool saysNoRepository(const ProgramResult& answer) {
  return answer.errors.find("fatal: not a git repository") != std::string::npos;
}

// What a small file of git's own says, without the line ends after it; empty when there is no such
// file. Anything else in its place, such as a pipe that nobody writes to, is not opened.
std::string textOf(const fs::path& path) {
  std::string text = RegularFile::read(path.string(), kLongestPath).value_or(std::string());
  text.resize(text.find_last_not_of("\r\n") + 1);
  return text;
}

// The git directory that `gitDirectory` shares references with, by the file that git keeps there.
std::string commonDirectoryOf(const std::string& gitDirectory) {
  const std::string line = textOf(fs::path(gitDirectory) / "commondir");
  if (line.empty()) return gitDirectory;
  std::error_code error;
  const fs::path common = fs::weakly_canonical(fs::path(gitDirectory) / line, error);
  return error ? gitDirectory : common.string();
}

bool isSame(const fs::path& a, const fs::path& b) {
  std::error_code ignored;
  return fs::equivalent(a, b, ignored);
}

// Where the ".git" of a folder leads: itself, or what a file of that name says.
fs::path gitDirectoryFrom(const fs::path& folder) {
  constexpr std::string_view kPrefix = "gitdir: ";
  const fs::path git = folder / ".git";
  const std::string line = textOf(git);
  return line.starts_with(kPrefix) ? folder / line.substr(kPrefix.size()) : git;
}

// Why the work tree is not that of the folder that was shown; empty when it is. Whatever the
// configuration says, the root has a ".git" that leads to the git directory; and where that is a
// file, the git directory is not known to belong to another folder.
std::string misplacement(const WorkingCopy& found) {
  if (!isSame(gitDirectoryFrom(found.root), found.gitDirectory))
    return "its work tree is another folder, " + found.root + ".";
  const fs::path git(found.gitDirectory);
  if (isSame(fs::path(found.root) / ".git", git)) return {};
  if (const std::string linked = textOf(git / "gitdir"); !linked.empty())
    return isSame(git / linked, fs::path(found.root) / ".git")
               ? std::string()
               : "its git directory belongs to another folder, that of " + linked + ".";
  return git.filename() == ".git"
             ? "its git directory belongs to another folder, " + git.parent_path().string() + "."
             : std::string();
}

}  // namespace

std::optional<std::string> WorkingCopyFinder::candidate(const std::string& folder) {
  for (fs::path at(folder); at.is_absolute(); at = at.parent_path()) {
    if (isThere(at / ".git") || looksBare(at)) return at.string();
    if (at == at.root_path()) break;
  }
  return std::nullopt;
}

std::string WorkingCopyFinder::hindrance(const std::string& root) {
  constexpr std::array<const char*, 12> kFirst = {
      ".git",        ".git/HEAD",        ".git/config",          ".git/config.worktree",
      ".git/index",  ".git/packed-refs", ".git/commondir",       ".git/info/exclude",
      ".gitmodules", ".gitignore",       ".git/info/attributes", ".gitattributes"};
  for (const char* name : kFirst) {
    std::error_code ignored;
    const fs::file_status there = fs::status(fs::path(root) / name, ignored);
    if (fs::exists(there) && !fs::is_regular_file(there) && !fs::is_directory(there))
      return "its \"" + std::string(name) + "\" is no file.";
  }
  return {};
}

WorkingCopyFinder::Finding WorkingCopyFinder::find(const std::string& folder) const {
  const std::optional<std::string> root = candidate(folder);
  if (!root) return {};
  if (std::string why = hindrance(*root); !why.empty()) return {std::nullopt, std::move(why)};
  return findFrom(folder, false);
}

WorkingCopyFinder::Finding WorkingCopyFinder::findFrom(const std::string& folder,
                                                       bool insideGitDirectory) const {
  const GitCommand git = git_.in(folder);
  const ProgramResult facts =
      git.ask({"rev-parse", "--is-inside-work-tree", "--is-bare-repository", "--absolute-git-dir"});
  if (!facts.succeeded()) {
    if (saysNoRepository(facts)) return {};
    return {std::nullopt, facts.failure()};
  }
  std::string_view rest = facts.output;
  const bool insideWorkTree = cutLine(rest) == "true";
  WorkingCopy found;
  found.bare = cutLine(rest) == "true";
  found.gitDirectory = lineWithoutEnd(rest);
  found.commonDirectory = commonDirectoryOf(found.gitDirectory);
  if (found.bare && !insideWorkTree) {
    found.root = found.gitDirectory;
    return {found, {}};
  }
  if (!insideWorkTree) {
    if (isThere(fs::path(folder) / ".git"))
      return {std::nullopt, "its work tree is another folder.", true};
    // A folder inside ".git" belongs to the working copy around it.
    const fs::path around(found.gitDirectory);
    if (insideGitDirectory || around.filename() != ".git") return {};
    return findFrom(around.parent_path().string(), true);
  }
  const ProgramResult root = git.ask({"rev-parse", "--show-toplevel"});
  if (!root.succeeded()) return {std::nullopt, root.failure()};
  found.root = lineWithoutEnd(root.output);
  found.bare = false;
  if (std::string why = misplacement(found); !why.empty())
    return {std::nullopt, std::move(why), true};
  return {found, {}};
}

}  // namespace kelpie::agent
