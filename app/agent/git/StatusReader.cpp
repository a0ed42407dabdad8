#include "agent/git/StatusReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/git/GitConfig.h"
#include "agent/git/PlaceSurvey.h"
#include "agent/git/StatusMerge.h"
#include "agent/git/StatusOrder.h"
#include "agent/git/StatusPlan.h"

namespace kelpie::agent {
namespace {

// A home folder under version control is not to be searched through for each badge: git knows these
// words for that.
constexpr std::array<std::string_view, 4> kNo = {"no", "false", "off", "0"};

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

StatusTerms StatusReader::askTerms(GCancellable* cancellable) const {
  const ProgramResult settings =
      git_.ask({"config", "-z", "--get-regexp",
                R"(^(status\.showuntrackedfiles|core\.ignorecase|core\.sparsecheckout)$)"},
               {}, cancellable);
  const GitConfig config = GitConfig::parse(settings.output);
  const std::optional<std::string> untracked = config.get("status.showuntrackedfiles");
  return {git_.rules(), !untracked || std::ranges::find(kNo, *untracked) == kNo.end(),
          config.getBool("core.ignorecase", false), config.getBool("core.sparsecheckout", false)};
}

std::variant<StatusReader::Items, std::string> StatusReader::ask(
    const StatusTerms& terms, const std::vector<std::string>& paths,
    GCancellable* cancellable) const {
  Arguments arguments = {"status", "--porcelain=v2", "-z"};
  // Whether a submodule has another commit is seen from outside.
  if (!terms.rules.mayEnterSubmodules) arguments.emplace_back("--ignore-submodules=dirty");
  // Each untracked file has a badge of its own, while an ignored folder is one item: what lies in
  // it is neither listed nor looked at.
  if (terms.untrackedShown)
    arguments.insert(arguments.end(), {"--untracked-files=all", "--ignored=matching"});
  else
    arguments.emplace_back("--untracked-files=no");
  if (!paths.empty()) {
    arguments.emplace_back("--");
    arguments.insert(arguments.end(), paths.begin(), paths.end());
  }
  ProgramResult status = git_.askUnder(terms.rules, arguments, {}, cancellable);
  if (!status.succeeded()) return failureOf(status, terms.rules);
  if (!terms.untrackedShown) status.output += untrackedAsIgnored(git_, cancellable);
  std::optional<Items> items = parseStatus(status.output);
  if (!items) return "git's status could not be understood.";
  doubtFiltered(terms.rules, *items, cancellable);
  return *std::move(items);
}

void StatusReader::doubtFiltered(const ReadingRules& rules, Items& items,
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
  const auto state = [this] { return repositoryState(workingCopy_.gitDirectory); };
  if (workingCopy_.bare)
    return std::make_shared<const StatusSnapshot>(workingCopy_.root, state(), Items(), false);
  const auto terms = std::make_shared<const StatusTerms>(askTerms(cancellable));
  std::variant<Items, std::string> answer = ask(*terms, {}, cancellable);
  if (auto* failure = std::get_if<std::string>(&answer)) return std::move(*failure);
  auto& items = std::get<Items>(answer);
  if (!isInOrder(items))
    return std::make_shared<const StatusSnapshot>(workingCopy_.root, state(), std::move(items),
                                                  terms->untrackedShown);
  return std::make_shared<const StatusSnapshot>(workingCopy_.root, state(), std::move(items),
                                                terms);
}

StatusReader::Update StatusReader::update(const StatusSnapshot* known, const ChangedPlaces& places,
                                          GCancellable* cancellable) const {
  StatusPlan plan = StatusPlan::of(known, places);
  if (plan.whole.empty())
    plan.whole = PlaceSurvey(workingCopy_.root, places).objectionTo(plan.paths, *known);
  if (plan.whole.empty())
    if (auto parts = readParts(*known, plan.paths, cancellable, plan.whole))
      return {std::move(parts), {}};
  return {read(cancellable), std::move(plan.whole)};
}

std::shared_ptr<const StatusSnapshot> StatusReader::readParts(const StatusSnapshot& known,
                                                              const std::vector<std::string>& paths,
                                                              GCancellable* cancellable,
                                                              std::string& whole) const {
  const std::shared_ptr<const StatusTerms>& terms = known.terms();
  // Trust may have been given or taken, or a submodule have come.
  whole = "git is to be asked in another way than before";
  if (git_.rules() != terms->rules) return nullptr;
  const std::variant<Items, std::string> answer = ask(*terms, paths, cancellable);
  whole = "git does not answer for parts";
  if (std::holds_alternative<std::string>(answer)) return nullptr;
  std::optional<Items> items = mergeStatus(known.items(), paths, std::get<Items>(answer));
  whole = "git's answer is about more than was asked";
  if (!items) return nullptr;
  return std::make_shared<const StatusSnapshot>(
      workingCopy_.root, repositoryState(workingCopy_.gitDirectory), *std::move(items), terms);
}

}  // namespace kelpie::agent
