#include "agent/git/StatusReader.h"

#include <optional>
#include <utility>

namespace kelpie::agent {
namespace {

// Whether the user wants untracked files in the status at all: a home folder under version control
// is not to be searched through for each badge.
bool wantsUntracked(const GitCommand& git, GCancellable* cancellable) {
  const ProgramResult setting =
      git.ask({"config", "--get", "status.showUntrackedFiles"}, {}, cancellable);
  return !(setting.output == "no\n" || setting.output == "false\n");
}

}  // namespace

Arguments StatusReader::statusArguments(GCancellable* cancellable, bool& untrackedShown) const {
  Arguments arguments = {"status", "--porcelain=v2", "-z"};
  untrackedShown = wantsUntracked(git_, cancellable);
  if (!untrackedShown) {
    arguments.emplace_back("--untracked-files=no");
    return arguments;
  }
  // Each untracked file has a badge of its own, while an ignored folder is one item: what lies in
  // it is neither listed nor looked at.
  arguments.insert(arguments.end(), {"--untracked-files=all", "--ignored=matching"});
  return arguments;
}

StatusReader::Reading StatusReader::read(GCancellable* cancellable) const {
  const auto snapshot = [this](std::vector<StatusItem> items, bool untrackedShown) {
    return std::make_shared<const StatusSnapshot>(workingCopy_.root,
                                                  repositoryState(workingCopy_.gitDirectory),
                                                  std::move(items), untrackedShown);
  };
  if (workingCopy_.bare) return snapshot({}, false);
  bool untrackedShown = true;
  const Arguments arguments = statusArguments(cancellable, untrackedShown);
  const ProgramResult status = git_.ask(arguments, {}, cancellable);
  if (!status.succeeded()) return status.failure();
  std::optional<std::vector<StatusItem>> items = parseStatus(status.output);
  if (!items) return "git's status could not be understood.";
  return snapshot(*std::move(items), untrackedShown);
}

}  // namespace kelpie::agent
