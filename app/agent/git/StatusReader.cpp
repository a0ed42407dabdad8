#include "agent/git/StatusReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

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

// The untracked items that the user does not want to see, as lines of ignored items: each untracked
// item that lies directly in a folder with tracked ones. Nothing in an untracked folder is looked
// at.
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

std::string failureOf(const ProgramResult& status, const ReadingRules& rules) {
  const bool isIncomplete = status.errors.find("lazy fetch") != std::string::npos ||
                            status.errors.find("promisor remote") != std::string::npos;
  return status.failure() +
         (isIncomplete && !rules.mayFetch
              ? "\nWhat this partial clone lacks is fetched for badges only in a "
                "repository that you trust; see \"kelpie trust\"."
              : "");
}

}  // namespace

Arguments StatusReader::statusArguments(const ReadingRules& rules, GCancellable* cancellable,
                                        bool& untrackedShown) const {
  Arguments arguments = {"status", "--porcelain=v2", "-z"};
  // Whether a submodule has another commit is seen from outside.
  if (!rules.mayEnterSubmodules) arguments.emplace_back("--ignore-submodules=dirty");
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

void StatusReader::doubtFiltered(const ReadingRules& rules, std::vector<StatusItem>& items,
                                 GCancellable* cancellable) const {
  if (rules.filters.empty()) return;
  const auto isDoubtful = [](const StatusItem& item) {
    return (item.word & KPStatusWorkdirModified) != 0 && !item.isFolder;
  };
  std::string paths;
  for (const StatusItem& item : items)
    if (isDoubtful(item)) paths.append(item.path).push_back('\0');
  if (paths.empty()) return;
  const ProgramResult answer = git_.askUnder(rules, {"check-attr", "-z", "--stdin", "filter"},
                                             std::move(paths), cancellable);
  // path NUL "filter" NUL value NUL
  std::set<std::string, std::less<>> filtered;
  for (std::string_view rest = answer.output; !rest.empty();) {
    std::array<std::string_view, 3> fields;
    for (std::string_view& field : fields) {
      field = rest.substr(0, rest.find('\0'));
      rest.remove_prefix(std::min(rest.size(), field.size() + 1));
    }
    if (std::ranges::find(rules.filters, fields[2]) != rules.filters.end())
      filtered.emplace(fields[0]);
  }
  for (StatusItem& item : items) {
    if (!isDoubtful(item) || (answer.succeeded() && !filtered.contains(item.path))) continue;
    item.word = static_cast<StatusWord>((item.word & ~KPStatusWorkdirModified) | kStatusUnknown);
  }
}

StatusReader::Reading StatusReader::read(GCancellable* cancellable) const {
  const auto snapshot = [this](std::vector<StatusItem> items, bool untrackedShown) {
    return std::make_shared<const StatusSnapshot>(workingCopy_.root,
                                                  repositoryState(workingCopy_.gitDirectory),
                                                  std::move(items), untrackedShown);
  };
  if (workingCopy_.bare) return snapshot({}, false);
  bool untrackedShown = true;
  const ReadingRules rules = git_.rules();
  const Arguments arguments = statusArguments(rules, cancellable, untrackedShown);
  const ProgramResult status = git_.askUnder(rules, arguments, {}, cancellable);
  if (!status.succeeded()) return failureOf(status, rules);
  std::optional<std::vector<StatusItem>> items = parseStatus(
      untrackedShown ? status.output : status.output + untrackedAsIgnored(git_, cancellable));
  if (!items) return "git's status could not be understood.";
  doubtFiltered(rules, *items, cancellable);
  return snapshot(*std::move(items), untrackedShown);
}

}  // namespace kelpie::agent
