#include "agent/git/WorkingCopyFinder.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

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
std::string_view withoutLineEnd(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

bool saysNoRepository(const ProgramResult& answer) {
  return answer.errors.find("fatal: not a git repository") != std::string::npos;
}

// The git directory that `gitDirectory` shares references with, by the file that git keeps there.
std::string commonDirectoryOf(const std::string& gitDirectory) {
  std::ifstream file(fs::path(gitDirectory) / "commondir", std::ios::binary);
  std::string line;
  if (!file || !std::getline(file, line) || line.empty()) return gitDirectory;
  std::error_code error;
  const fs::path common = fs::weakly_canonical(fs::path(gitDirectory) / line, error);
  return error ? gitDirectory : common.string();
}

}  // namespace

std::optional<std::string> WorkingCopyFinder::candidate(const std::string& folder) {
  for (fs::path at(folder); at.is_absolute(); at = at.parent_path()) {
    if (isThere(at / ".git") || looksBare(at)) return at.string();
    if (at == at.root_path()) break;
  }
  return std::nullopt;
}

WorkingCopyFinder::Finding WorkingCopyFinder::find(const std::string& folder) const {
  if (!candidate(folder)) return {};
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
  const bool insideWorkTree = takeLine(rest) == "true";
  WorkingCopy found;
  found.bare = takeLine(rest) == "true";
  found.gitDirectory = withoutLineEnd(rest);
  found.commonDirectory = commonDirectoryOf(found.gitDirectory);
  if (found.bare && !insideWorkTree) {
    found.root = found.gitDirectory;
    return {found, {}};
  }
  if (!insideWorkTree) {
    // A folder inside ".git" belongs to the working copy around it.
    const fs::path around(found.gitDirectory);
    if (insideGitDirectory || around.filename() != ".git") return {};
    return findFrom(around.parent_path().string(), true);
  }
  const ProgramResult root = git.ask({"rev-parse", "--show-toplevel"});
  if (!root.succeeded()) return {std::nullopt, root.failure()};
  found.root = withoutLineEnd(root.output);
  found.bare = false;
  return {found, {}};
}

}  // namespace kelpie::agent
