#include "agent/git/StatusReader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace kelpie::agent {
namespace {

// Whether the user wants untracked files in the status at all: a home folder under version control
// is not to be searched through for each badge.
bool wantsUntracked(const GitCommand& git, GCancellable* cancellable) {
  const ProgramResult setting =
      git.ask({"config", "--get", "status.showUntrackedFiles"}, {}, cancellable);
  constexpr std::array<std::string_view, 4> kNo = {"no\n", "false\n", "off\n", "0\n"};
  return std::ranges::find(kNo, setting.output) == kNo.end();
}

// What the user does not want to see, as lines of ignored items: each untracked item that lies
// directly in a folder with tracked ones. Nothing in an untracked folder is looked at.
std::string untrackedAsIgnored(const GitCommand& git, GCancellable* cancellable) {
  const ProgramResult others =
      git.ask({"ls-files", "-z", "--others", "--directory"}, {}, cancellable);
  std::string lines;
  if (!others.succeeded()) return lines;
  for (std::string_view rest = others.output; !rest.empty();) {
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos) break;
    lines.append("! ").append(rest.substr(0, end + 1));
    rest.remove_prefix(end + 1);
  }
  return lines;
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
  std::optional<std::vector<StatusItem>> items = parseStatus(
      untrackedShown ? status.output : status.output + untrackedAsIgnored(git_, cancellable));
  if (!items) return "git's status could not be understood.";
  return snapshot(*std::move(items), untrackedShown);
}

}  // namespace kelpie::agent
