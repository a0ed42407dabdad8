#include "agent/actions/Staging.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "agent/actions/IndexListing.h"
#include "agent/actions/IndexLock.h"
#include "agent/actions/SafeReplacement.h"
#include "agent/actions/TreeListing.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

using Paths = std::vector<std::string>;

std::string separated(const Paths& paths) {
  std::string text;
  for (const std::string& path : paths) text.append(path).push_back('\0');
  return text;
}

// Tells which paths lie in a repository inside the working copy, looking at each folder once.
class Repositories {
 public:
  explicit Repositories(WorkingFiles& files) : files_(files) {}

  bool hold(const std::string& path) {
    const std::size_t cut = path.rfind('/');
    if (cut == std::string::npos) return false;
    const std::string folder = path.substr(0, cut);
    if (const auto known = folders_.find(folder); known != folders_.end()) return known->second;
    const bool holds =
        files_.look(folder + "/.git").kind != WorkingFiles::Kind::Missing || hold(folder);
    folders_.emplace(folder, holds);
    return holds;
  }

 private:
  WorkingFiles& files_;
  std::map<std::string, bool> folders_;
};

}  // namespace

// Where only a part of the files is checked out, git has rules of its own for the others.
bool Staging::isSparse() const {
  return git_.ask({"config", "--type=bool", "--get", "core.sparseCheckout"}).output == "true\n";
}

ActionOutcome Staging::change(const Arguments& arguments, const Paths& paths) const {
  return IndexLock::change(git_, [&] { return git_.changePaths(arguments, paths); });
}

ActionOutcome Staging::stage(const Paths& paths) const {
  if (paths.size() <= kFewPaths || isSparse()) return change({"add", "--all"}, paths);
  WorkingFiles there(git_.folder());
  Paths files;
  Paths folders;
  for (const std::string& path : paths)
    (path == "." || there.look(path).kind == WorkingFiles::Kind::Folder ? folders : files)
        .push_back(path);
  if (!files.empty())
    if (ActionOutcome outcome = stageFiles(files); !outcome.isDone()) return outcome;
  if (folders.empty()) return ActionOutcome::done();
  return change({"add", "--all"}, folders);
}

ActionOutcome Staging::stageFiles(const Paths& files) const {
  if (ActionOutcome outcome = refuseStrangers(files); !outcome.isDone()) return outcome;
  // Deleted files are told apart, also those behind a link that has replaced their folder.
  WorkingFiles there(git_.folder());
  Paths present;
  Paths gone;
  for (const std::string& file : files)
    (there.look(file).isContent() ? present : gone).push_back(file);
  if (!present.empty()) {
    ActionOutcome added = IndexLock::change(
        git_, {"update-index", "--add", "--replace", "-z", "--stdin"}, {separated(present), {}});
    if (!added.isDone()) return added;
  }
  return SafeReplacement::setIndex(git_, gone, "");
}

// Paths that the plumbing would accept, or skip, without a word.
ActionOutcome Staging::refuseStrangers(const Paths& files) const {
  const std::set<std::string, std::less<>> wanted(files.begin(), files.end());
  // A folder that became a file is known by what it held.
  std::set<std::string, std::less<>> known;
  const auto index = IndexListing::read(git_, [&](std::string_view path) {
    for (std::size_t end = path.size(); end != std::string_view::npos && end > 0;
         end = path.rfind('/', end - 1))
      if (wanted.contains(path.substr(0, end))) known.emplace(path.substr(0, end));
    return false;
  });
  if (!index) return ActionOutcome::failed("The index could not be read. Nothing was done.");
  WorkingFiles there(git_.folder());
  Repositories repositories(there);
  Paths added;
  for (const std::string& file : files) {
    if (known.contains(file)) continue;
    if (!there.look(file).isContent())
      return ActionOutcome::failed("\"" + file + "\" is not there. Nothing was done.");
    if (repositories.hold(file))
      return ActionOutcome::failed("\"" + file +
                                   "\" is in a repository of its own. Nothing was done.");
    added.push_back(file);
  }
  if (added.empty()) return ActionOutcome::done();
  // This command knows no literal paths; one that begins with "./" it takes as it is. None of them
  // is in the index, through all of which it would go for each.
  std::string input;
  for (const std::string& file : added) input += "./" + file + '\0';
  const ProgramResult ignored =
      git_.changeWith({"check-ignore", "--no-index", "-z", "--stdin"}, {std::move(input), {}});
  // It ends with 1 when none of them is ignored.
  if (ignored.end == ProgramResult::End::Exited && ignored.status == 1)
    return ActionOutcome::done();
  if (!ignored.succeeded()) return ActionOutcome::of(ignored);
  const std::string first = ignored.output.substr(0, ignored.output.find('\0'));
  return ActionOutcome::failed("\"" + first.substr(std::min<std::size_t>(2, first.size())) +
                               "\" is ignored. Nothing was done.");
}

ActionOutcome Staging::unstage(const Paths& paths) const {
  if (paths.size() <= kFewPaths) return change({"reset", "-q"}, paths);
  const PathScope scope(paths);
  const auto selected = [&scope](std::string_view path) { return scope.contains(path); };
  const auto head = TreeListing::read(git_, "HEAD", selected);
  const auto index = IndexListing::read(git_, selected);
  if (!head || !index)
    return ActionOutcome::failed("The index could not be read. Nothing was done.");
  Paths removed;
  std::string entries;
  for (const auto& [path, staged] : index->entries()) {
    const TreeEntry* before = head->find(path);
    if (before == nullptr || staged != std::vector<IndexEntry>{{*before, 0}})
      removed.push_back(path);
  }
  for (const auto& [path, entry] : head->entries())
    if (index->at(path) != std::vector<IndexEntry>{{entry, 0}})
      entries += entry.mode + " " + entry.oid + "\t" + path + '\0';
  return SafeReplacement::setIndex(git_, removed, entries);
}

}  // namespace kelpie::agent
