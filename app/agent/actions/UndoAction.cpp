#include "agent/actions/UndoAction.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/IndexLock.h"
#include "agent/actions/KeptChanges.h"
#include "agent/actions/SafeReplacement.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Item = KeptChanges::Item;
using Paths = std::vector<std::string>;
using Site = SafeReplacement::Site;
using Sites = SafeReplacement::Sites;

constexpr const char* kNothingKept = "There is nothing that was put aside.";
constexpr const char* kNotTheNewest =
    "What was put aside then has been brought back already, or something else was put aside since. "
    "Nothing was done.";

// Whether the index and the working folder are as the action left them.
bool isAsLeft(const Item& item, const PathSurvey::State& now) {
  const bool sameIndex =
      item.target ? now.index == std::vector<IndexEntry>{{*item.target, 0}} : now.index.empty();
  if (!sameIndex || item.kind == Item::Kind::Left) return sameIndex;
  return item.target ? now.isClean : !now.presence.isContent();
}

// The entry that the working folder is to have; for a submodule that is left alone, its entry.
std::optional<TreeEntry> targetOf(const Item& item) {
  switch (item.kind) {
    case Item::Kind::File:
      return TreeEntry{"100644", item.blob};
    case Item::Kind::Link:
      return TreeEntry{"120000", item.blob};
    case Item::Kind::Clean:
      return item.index.empty() ? std::nullopt : std::optional(item.index.front().entry);
    case Item::Kind::Missing:
      return std::nullopt;
    case Item::Kind::Left:
    case Item::Kind::Lost:
      break;
  }
  return TreeEntry{"160000", {}};
}

// Brings one record back.
class Restoring {
 public:
  Restoring(const ActionJob& job, const KeptChanges& kept, const KeptChanges::Record& record)
      : job_(job), kept_(kept), record_(record), files_(job.workingCopy().root) {}

  std::variant<Sites, ActionOutcome> plan() const;
  std::set<std::string> changedSince(const Site& site) const;
  ActionOutcome carryOut(const Site& site);

 private:
  ActionOutcome restoreIndex(const Site& site) const;
  ActionOutcome restoreFiles(const Site& site);
  ActionOutcome restoreState() const;
  std::string write(const std::string& path, std::string_view content, const Site& site);

  const ActionJob& job_;
  const KeptChanges& kept_;
  const KeptChanges::Record& record_;
  WorkingFiles files_;
};

std::variant<Sites, ActionOutcome> Restoring::plan() const {
  Site site{job_.workingCopy(), {}, SafeReplacement::statusOf(job_.git(), job_.workingCopy())};
  if (site.status == nullptr)
    return ActionOutcome::failed("The status could not be read. Nothing was done.");
  for (const auto& [path, item] : record_.items) {
    site.plan.targets.emplace(path, targetOf(item));
    site.plan.items.insert(path);
  }
  return Sites{std::move(site)};
}

std::set<std::string> Restoring::changedSince(const Site& site) const {
  std::set<std::string> changed;
  for (const std::string& path : site.survey.atStake())
    if (!isAsLeft(record_.items.at(path), site.survey.at(path))) changed.insert(path);
  return changed;
}

ActionOutcome Restoring::restoreIndex(const Site& site) const {
  Paths removed;
  std::string entries;
  for (const auto& [path, item] : record_.items) {
    const std::vector<IndexEntry>& now = site.survey.at(path).index;
    // One that is only to be added is announced anew when its file is there.
    if (now == item.index && !item.isIntended) continue;
    if (!now.empty()) removed.push_back(path);
    if (item.isIntended) continue;
    for (const IndexEntry& each : item.index)
      entries += each.entry.mode + " " + each.entry.oid + " " + std::to_string(each.stage) + "\t" +
                 path + '\0';
  }
  return SafeReplacement::setIndex(job_.git(), removed, entries);
}

std::string Restoring::write(const std::string& path, std::string_view content, const Site& site) {
  const Item& item = record_.items.at(path);
  WorkingFiles::Presence before = site.survey.at(path).presence;
  // A former folder was empty and is gone by now, and so is what was in the way.
  if (!before.isContent()) before = {};
  return item.kind == Item::Kind::Link ? files_.writeLink(path, std::string(content), before)
                                       : files_.writeFile(path, content, item.mode, before);
}

ActionOutcome Restoring::restoreFiles(const Site& site) {
  std::vector<std::pair<std::string, std::uint64_t>> blobs;
  Paths written;
  std::string clean;
  for (const auto& [path, item] : record_.items) {
    const WorkingFiles::Presence& now = site.survey.at(path).presence;
    if (item.kind == Item::Kind::Missing && now.isContent())
      if (std::string problem = files_.remove(path, now.print); !problem.empty())
        return ActionOutcome::failed(std::move(problem));
    if (item.kind == Item::Kind::Clean) clean += path + '\0';
    if (item.kind != Item::Kind::File && item.kind != Item::Kind::Link) continue;
    blobs.emplace_back(item.blob, item.size);
    written.push_back(path);
  }
  for (const std::string& path : written)
    if (site.survey.at(path).presence.kind == WorkingFiles::Kind::Folder)
      files_.removeEmptyFolders(path);
  std::string problem;
  auto next = written.begin();
  const bool read = kept_.readBlobs(blobs, [&](std::string_view content) {
    problem = write(*next++, content, site);
    return problem.empty();
  });
  if (!problem.empty()) return ActionOutcome::failed(std::move(problem));
  if (!read) return ActionOutcome::failed("What was put aside cannot be read.");
  if (clean.empty()) return ActionOutcome::done();
  return IndexLock::change(job_.git(), {"checkout-index", "-q", "-f", "-u", "-z", "--stdin"},
                           {std::move(clean), {}});
}

// The merge that was under way, unless something else has begun or was committed since.
ActionOutcome Restoring::restoreState() const {
  const fs::path folder = job_.workingCopy().gitDirectory;
  const ProgramResult head = job_.git().ask({"rev-parse", "--verify", "--quiet", "HEAD^{commit}"});
  if (head.output != record_.head + "\n") return ActionOutcome::done();
  for (const std::string& name : KeptChanges::stateFiles()) {
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(folder / name, ignored))) return ActionOutcome::done();
  }
  for (const auto& [name, content] : record_.state) {
    std::ofstream file(folder / name, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file.good())
      return ActionOutcome::failed((folder / name).string() + " cannot be written.");
  }
  return ActionOutcome::done();
}

ActionOutcome Restoring::carryOut(const Site& site) {
  if (ActionOutcome outcome = restoreIndex(site); !outcome.isDone()) return outcome;
  if (ActionOutcome outcome = restoreFiles(site); !outcome.isDone()) return outcome;
  Paths intended;
  for (const auto& [path, item] : record_.items)
    if (item.isIntended) intended.push_back(path);
  if (!intended.empty())
    if (ActionOutcome outcome = job_.changePaths({"add", "--intent-to-add"}, intended);
        !outcome.isDone())
      return outcome;
  if (ActionOutcome outcome = restoreState(); !outcome.isDone()) return outcome;
  return ActionOutcome::of(kept_.forget(record_));
}

std::string questionOf(const KeptChanges::Record& record, std::size_t changed) {
  if (changed == 0) return {};
  return "Bring back the " + std::to_string(record.items.size()) + " item(s) that \"" +
         record.label + "\" replaced?\n\n" + std::to_string(changed) +
         " of them have changed since, and will be replaced.";
}

}  // namespace

ActionOutcome undoDiscard(ActionJob& job) {
  const KeptChanges kept(job.git(), job.workingCopy());
  const auto found = kept.newest();
  if (const auto* problem = std::get_if<std::string>(&found))
    return ActionOutcome::failed(*problem);
  const auto& record = std::get<0>(found);
  if (!record) return ActionOutcome::failed(kNothingKept);
  const std::string& wanted = job.request().record;
  if (!wanted.empty() && record->oid != wanted) return ActionOutcome::failed(kNotTheNewest);
  Restoring restoring(job, kept, *record);
  return SafeReplacement::run(
      job, {.plan = [&] { return restoring.plan(); },
            .question =
                [&](const Sites& sites) {
                  return questionOf(*record, restoring.changedSince(sites.front()).size());
                },
            .carryOut = [&](const Sites& sites) { return restoring.carryOut(sites.front()); },
            .stakes = [&](const Site& site) { return restoring.changedSince(site); }});
}

}  // namespace kelpie::agent
