#include "agent/git/RepositoryState.h"

#include <filesystem>
#include <system_error>

namespace kelpie::agent {
namespace {

struct Trace {
  const char* file;  // in the git directory
  const char* also;  // must be there too; null: nothing else
  RepositoryState state;
};

// The first row whose files are there tells the state: a rebase picks commits one by one, so its
// rows stand before those of a pick, and what carries on from a list before the single case.
constexpr Trace kTraces[] = {
    {"rebase-merge/interactive", nullptr, RepositoryState::RebaseInteractive},
    {"rebase-merge", nullptr, RepositoryState::RebaseMerge},
    {"rebase-apply/rebasing", nullptr, RepositoryState::Rebase},
    {"rebase-apply/applying", nullptr, RepositoryState::ApplyMailbox},
    {"rebase-apply", nullptr, RepositoryState::ApplyMailboxOrRebase},
    {"MERGE_HEAD", nullptr, RepositoryState::Merge},
    {"REVERT_HEAD", "sequencer/todo", RepositoryState::RevertSequence},
    {"REVERT_HEAD", nullptr, RepositoryState::Revert},
    {"CHERRY_PICK_HEAD", "sequencer/todo", RepositoryState::CherryPickSequence},
    {"CHERRY_PICK_HEAD", nullptr, RepositoryState::CherryPick},
    {"BISECT_LOG", nullptr, RepositoryState::Bisect},
};

bool hasStateFile(const std::filesystem::path& path) {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

}  // namespace

RepositoryState repositoryState(const std::string& gitDirectory) {
  const std::filesystem::path directory(gitDirectory);
  for (const Trace& trace : kTraces) {
    if (!hasStateFile(directory / trace.file)) continue;
    if (trace.also == nullptr || hasStateFile(directory / trace.also)) return trace.state;
  }
  return RepositoryState::None;
}

}  // namespace kelpie::agent
