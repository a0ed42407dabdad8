#include "agent/actions/SafeReplacement.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "agent/actions/IndexLock.h"
#include "agent/actions/KeptChanges.h"
#include "agent/git/StatusReader.h"

namespace kelpie::agent {
namespace {

using Sites = SafeReplacement::Sites;
using Site = SafeReplacement::Site;
using Paths = std::vector<std::string>;

constexpr const char* kRestless = "The files keep changing. Nothing was done.";
// A person who agrees that often does not see what changes.
constexpr int kMostQuestions = 5;
constexpr std::size_t kMostNames = 5;

// One action from its plan to its end.
class Replacing {
 public:
  Replacing(ActionJob& job, const SafeReplacement::Parts& parts) : job_(job), parts_(parts) {}

  ActionOutcome run();

 private:
  std::optional<ActionOutcome> look(Sites& sites) const;
  std::optional<ActionOutcome> ask();
  // Absent while everything is as it was; sites_ is brought up to date.
  enum class News { None, Changed };
  std::variant<News, ActionOutcome> lookAgain();
  std::string keep();
  std::set<std::string> stakes(const Site& site) const {
    return parts_.stakes ? parts_.stakes(site) : site.survey.atStake();
  }
  Paths unkeepable() const;
  bool hasStakes() const {
    return std::ranges::any_of(sites_, [this](const Site& each) { return !stakes(each).empty(); });
  }

  ActionJob& job_;
  const SafeReplacement::Parts& parts_;
  Sites sites_;
  bool hasAsked_ = false;
  std::vector<ActionOutcome::Kept> kept_;  // one for each working copy
};

std::optional<ActionOutcome> Replacing::look(Sites& sites) const {
  std::variant<Sites, ActionOutcome> planned = parts_.plan();
  if (const auto* end = std::get_if<ActionOutcome>(&planned)) return *end;
  sites = std::get<Sites>(std::move(planned));
  for (Site& site : sites) {
    if (!site.plan.failure.empty()) return ActionOutcome::failed(site.plan.failure);
    std::optional<PathSurvey> survey =
        PathSurvey::of(job_.git().in(site.workingCopy.root), site.plan, *site.status);
    if (!survey) return ActionOutcome::noStatus();
    site.survey = *std::move(survey);
    if (!site.survey.obstruction().empty())
      return ActionOutcome::failed(site.survey.obstruction() + " Nothing was done.");
  }
  return std::nullopt;
}

Paths Replacing::unkeepable() const {
  Paths paths;
  for (const Site& site : sites_) {
    const std::set<std::string> lost = stakes(site);
    for (const std::string& path : site.survey.unkeepable())
      if (lost.contains(path)) paths.push_back(path);
  }
  return paths;
}

std::optional<ActionOutcome> Replacing::ask() {
  std::string question = parts_.question(sites_);
  const Paths lost = unkeepable();
  if (question.empty() && lost.empty()) return std::nullopt;
  if (std::exchange(hasAsked_, true))
    question = "Files have changed since you were asked.\n\n" + question;
  for (const Site& site : sites_)
    if (!site.survey.stayingFolders().empty())
      question += "\n\nThese folders stay: " +
                  SafeReplacement::named(
                      {site.survey.stayingFolders().begin(), site.survey.stayingFolders().end()}) +
                  ".";
  if (hasStakes())
    question += "\n\nWhat is in no commit is put aside first; \"kelpie undo\" brings it back.";
  if (!lost.empty())
    question +=
        "\n\nToo large or not readable, " + std::to_string(lost.size()) +
        " item(s) cannot be put aside and will be LOST for good: " + SafeReplacement::named(lost) +
        ".";
  return job_.refused(question);
}

// Removes from the new plan everything that the question did not count. True when something was
// removed.
bool restrict(Sites& now, const Sites& before) {
  bool hasMore = false;
  std::erase_if(now, [&](const Site& site) {
    const bool isNew = std::ranges::none_of(
        before, [&](const Site& each) { return each.workingCopy == site.workingCopy; });
    hasMore = hasMore || isNew;
    return isNew;
  });
  for (Site& site : now) {
    const Site& same = *std::ranges::find_if(
        before, [&](const Site& each) { return each.workingCopy == site.workingCopy; });
    std::erase_if(site.plan.items, [&](const auto& item) { return !same.plan.has(item); });
    hasMore = std::erase_if(site.plan.targets,
                            [&](const auto& target) { return !same.plan.has(target.first); }) > 0 ||
              hasMore;
  }
  return hasMore;
}

// What was to be put aside, and could not be read just now, would be lost without having been
// named.
bool isNewlyUnkeepable(const std::string& path, const PathSurvey& now, const PathSurvey& before) {
  return now.unkeepable().contains(path) && !before.unkeepable().contains(path);
}

bool differs(const Sites& now, const Sites& before) {
  return std::ranges::any_of(now, [&](const Site& site) {
    const Site& same = *std::ranges::find_if(
        before, [&](const Site& each) { return each.workingCopy == site.workingCopy; });
    return std::ranges::any_of(site.plan.targets, [&](const auto& target) {
      return target.second != same.plan.targets.at(target.first) ||
             !site.survey.at(target.first).isAs(same.survey.at(target.first)) ||
             isNewlyUnkeepable(target.first, site.survey, same.survey);
    });
  });
}

std::variant<Replacing::News, ActionOutcome> Replacing::lookAgain() {
  Sites now;
  if (std::optional<ActionOutcome> end = look(now)) return *end;
  Sites restricted = now;
  const bool hasMore = restrict(restricted, sites_);
  const bool isOther = differs(restricted, sites_);
  sites_ = hasMore && parts_.touchesAll ? std::move(now) : std::move(restricted);
  return isOther || (hasMore && parts_.touchesAll) ? News::Changed : News::None;
}

std::string Replacing::keep() {
  for (const Site& site : sites_) {
    if (stakes(site).empty()) continue;
    const KeptChanges kept(job_.git(), site.workingCopy);
    auto record = kept.keep(std::string(job_.label()), site.plan, site.survey);
    if (!record)
      return "What would be lost could not be put aside: " + record.problem() +
             " Nothing was done.";
    std::erase_if(kept_, [&](const ActionOutcome::Kept& each) {
      return each.workingCopy == site.workingCopy;
    });
    kept_.push_back({site.workingCopy, *std::move(record)});
  }
  return {};
}

ActionOutcome Replacing::run() {
  if (std::optional<ActionOutcome> end = look(sites_)) return *end;
  for (int question = 0; question < kMostQuestions; ++question) {
    if (std::optional<ActionOutcome> no = ask()) return *no;
    std::variant<News, ActionOutcome> news = lookAgain();
    if (std::holds_alternative<News>(news) && std::get<News>(news) == News::None) {
      if (std::string problem = keep(); !problem.empty())
        return ActionOutcome::failed(std::move(problem));
      // Putting much aside takes its time.
      if (!kept_.empty()) news = lookAgain();
    }
    if (auto* end = std::get_if<ActionOutcome>(&news)) return std::move(*end);
    if (std::get<News>(news) == News::Changed) continue;
    ActionOutcome outcome = parts_.carryOut(sites_);
    outcome.kept = kept_;
    return outcome;
  }
  return ActionOutcome::failed(kRestless);
}

}  // namespace

ActionOutcome SafeReplacement::run(ActionJob& job, const Parts& parts) {
  return Replacing(job, parts).run();
}

std::string SafeReplacement::named(const Paths& paths) {
  std::string text;
  for (std::size_t i = 0; i < paths.size() && i < kMostNames; ++i)
    text += (i == 0 ? "\"" : ", \"") + paths[i] + "\"";
  return text + (paths.size() > kMostNames ? ", \u2026" : "");
}

std::shared_ptr<const StatusSnapshot> SafeReplacement::statusOf(const GitCommand& git,
                                                                const WorkingCopy& workingCopy) {
  const StatusReader::Reading reading = StatusReader(git, workingCopy).read();
  const auto* status = std::get_if<std::shared_ptr<const StatusSnapshot>>(&reading);
  return status == nullptr ? nullptr : *status;
}

ActionOutcome SafeReplacement::setIndex(const GitCommand& git, const Paths& removed,
                                        const std::string& entries) {
  std::string input;
  if (!removed.empty()) {
    // As long as object names in this repository.
    const ProgramResult empty = git.ask({"hash-object", "--stdin"});
    if (!empty.succeeded()) return ActionOutcome::of(empty);
    const std::string none(empty.output.find('\n'), '0');
    for (const std::string& path : removed)
      input.append("0 ").append(none).append("\t").append(path).push_back('\0');
  }
  input += entries;
  if (input.empty()) return ActionOutcome::done();
  return IndexLock::change(git, {"update-index", "-z", "--index-info"}, {std::move(input), {}});
}

ActionOutcome SafeReplacement::replace(const GitCommand& git, const Site& site) {
  Paths removed;
  std::string entries;
  std::string written;
  WorkingFiles files(site.workingCopy.root);
  for (const auto& [path, target] : site.plan.targets) {
    const std::vector<IndexEntry>& index = site.survey.at(path).index;
    if (target && !target->isSubmodule()) written += path + '\0';
    if (target ? index == std::vector<IndexEntry>{{*target, 0}} : index.empty()) continue;
    if (!index.empty()) removed.push_back(path);
    if (target) entries += target->mode + " " + target->oid + "\t" + path + '\0';
  }
  if (ActionOutcome outcome = setIndex(git, removed, entries); !outcome.isDone()) return outcome;
  for (const auto& [path, target] : site.plan.targets) {
    const WorkingFiles::Presence& there = site.survey.at(path).presence;
    if (target || !there.isContent()) continue;
    if (std::string problem = files.remove(path, there.print); !problem.empty())
      return ActionOutcome::failed(std::move(problem));
  }
  // Where a file was before a folder came, only empty folders are left now.
  for (const auto& [path, target] : site.plan.targets)
    if (target && !target->isSubmodule() &&
        site.survey.at(path).presence.kind == WorkingFiles::Kind::Folder)
      files.removeEmptyFolders(path);
  if (written.empty()) return ActionOutcome::done();
  return IndexLock::change(git, {"checkout-index", "-q", "-f", "-u", "-z", "--stdin"},
                           {std::move(written), {}});
}

}  // namespace kelpie::agent
