#include "agent/git/ProgramGuard.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/git/GitConfig.h"
#include "agent/git/ScopedConfig.h"
#include "agent/git/SettingsFiles.h"
#include "agent/git/Submodules.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// The most folders that are remembered; beyond these everything is forgotten and asked again.
constexpr std::size_t kMostRecords = 4000;
// The most submodules that git is let into.
constexpr std::size_t kMostSubmodules = 1000;
constexpr std::size_t kDeepest = 8;
// So many settings still go into one call.
constexpr std::size_t kMostSettings = 300;

// Where the user's own settings are, or would be.
std::vector<std::string> filesOfUser() {
  if (const char* named = std::getenv("GIT_CONFIG_GLOBAL"); named != nullptr) return {named};
  return {std::string(g_get_home_dir()) + "/.gitconfig",
          std::string(g_get_user_config_dir()) + "/git/config"};
}

bool isBelow(std::string_view path, const std::string& folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

// The configuration of a linked working tree, and of a submodule that git itself has cloned, is in
// the git directory of the repository that it belongs to.
bool isTrusted(const WorkingCopy& workingCopy, const std::vector<std::string>& trusted) {
  return std::ranges::any_of(trusted, [&](const std::string& root) {
    return workingCopy.root == root || isBelow(workingCopy.gitDirectory, root + "/.git");
  });
}

}  // namespace

// The result for a folder's repository and its submodules.
struct ProgramGuard::Visit {
  ReadingRules rules{{}, {}, {}, true, true};
  std::vector<std::string> trusted;
  std::set<std::string> seen;  // the keys of rules.settings
  std::size_t submodules = 0;
  // Why nothing may be changed in a submodule.
  std::string objection;
};

ProgramGuard::ProgramGuard(const GitCommand& git, Callbacks callbacks)
    : git_(git.unguarded()), callbacks_(std::move(callbacks)) {}

ReadingRules ProgramGuard::rulesFor(const std::string& folder) {
  const std::optional<std::string> root = WorkingCopyFinder::candidate(folder);
  if (!root) return {};
  Visit all;
  all.rules.refusal = WorkingCopyFinder::hindrance(*root);
  if (!all.rules.refusal.empty()) return std::move(all.rules);
  if (callbacks_.trusted) all.trusted = callbacks_.trusted();
  visit(folder, 0, all);
  if (all.rules.settings.size() > kMostSettings)
    all.rules.refusal = "It and its submodules name more programs than can be switched off.";
  return std::move(all.rules);
}

std::vector<std::string> ProgramGuard::settingsFilesOf(const std::string& folder) {
  std::vector<std::string> files;
  addSettingsFiles(folder, 0, files);
  return files;
}

void ProgramGuard::addSettingsFiles(const std::string& folder, std::size_t depth,
                                    std::vector<std::string>& files) {
  const std::shared_ptr<Record> record = recordFor(folder);
  std::vector<std::string> submodules;
  {
    const MutexLock lock(record->mutex);
    if (!record->configurationStamps.stillHold()) readConfiguration(*record, folder);
    if (record->workingCopy && !record->indexStamps.stillHold()) readSubmodules(*record);
    files.insert(files.end(), record->ownFiles.begin(), record->ownFiles.end());
    submodules = record->submodules;
  }
  for (const std::string& submodule : submodules)
    if (depth < kDeepest && files.size() < kMaximumSettingsFiles)
      addSettingsFiles(submodule, depth + 1, files);
}

std::string ProgramGuard::objectionTo(const WorkingCopy& workingCopy) {
  const WorkingCopyFinder::Finding now = WorkingCopyFinder(git_).find(workingCopy.root);
  if (!now.failure.empty()) return workingCopy.root + ": " + now.failure;
  if (now.workingCopy != workingCopy)
    return workingCopy.root + " is not the working copy any more that it was.";
  Visit all;
  visit(workingCopy.root, 0, all);
  return all.objection;
}

std::shared_ptr<ProgramGuard::Record> ProgramGuard::recordFor(const std::string& folder) {
  const MutexLock lock(mutex_);
  if (records_.size() >= kMostRecords) records_.clear();
  std::shared_ptr<Record>& record = records_[folder];
  if (record == nullptr) record = std::make_shared<Record>();
  return record;
}

void ProgramGuard::visit(const std::string& folder, std::size_t depth, Visit& visit) {
  const std::shared_ptr<Record> record = recordFor(folder);
  std::vector<std::string> submodules;
  {
    const MutexLock lock(record->mutex);
    if (!record->configurationStamps.stillHold()) readConfiguration(*record, folder);
    if (record->failure.empty() && record->workingCopy && !record->indexStamps.stillHold())
      readSubmodules(*record);
    if (depth > 0 && !record->failure.empty()) {
      // git is not let into any then.
      visit.rules.mayEnterSubmodules = false;
      if (record->isElsewhere) visit.objection = "The submodule " + folder + ": " + record->failure;
      return;
    }
    if (!record->failure.empty()) visit.rules.refusal = record->failure;
    // It may become one before git is asked: a working copy that is being unpacked, say.
    else if (!record->workingCopy && depth == 0)
      visit.rules.refusal = "It is not a git repository.";
    // Not a valid ".git": git looks no further in a submodule.
    if (!record->workingCopy || (depth > 0 && record->workingCopy->root != folder)) return;
    add(*record, visit);
    submodules = record->submodules;
  }
  for (const std::string& submodule : submodules) {
    if (++visit.submodules > kMostSubmodules || depth >= kDeepest) {
      visit.rules.mayEnterSubmodules = false;
      return;
    }
    this->visit(submodule, depth + 1, visit);
  }
}

void ProgramGuard::add(Record& record, Visit& visit) const {
  const bool trusted = isTrusted(*record.workingCopy, visit.trusted);
  const std::vector<std::string> withheld =
      trusted ? std::vector<std::string>() : record.programs.programs;
  if (withheld != record.told) {
    record.told = withheld;
    if (callbacks_.withheld) callbacks_.withheld(record.workingCopy->root, withheld);
  }
  if (trusted) return;
  visit.rules.mayFetch = false;
  for (const auto& setting : record.programs.settings)
    if (visit.seen.insert(setting.first).second) visit.rules.settings.push_back(setting);
  visit.rules.filters.insert(visit.rules.filters.end(), record.programs.filters.begin(),
                             record.programs.filters.end());
}

void ProgramGuard::readConfiguration(Record& record, const std::string& folder) const {
  record.programs = {};
  record.submodules.clear();
  record.ownFiles.clear();
  record.configurationStamps = {};
  record.indexStamps = {};
  WorkingCopyFinder::Finding finding = WorkingCopyFinder(git_).find(folder);
  record.workingCopy = std::move(finding.workingCopy);
  record.failure = std::move(finding.failure);
  record.isElsewhere = finding.isElsewhere;
  if (!record.workingCopy) return;
  // A change while git reads is seen the next time, since the files are looked at before; new ones
  // among them are read once more.
  std::vector<std::string> files = filesOfUser();
  const WorkingCopy& copy = *record.workingCopy;
  // An "includeIf" may ask for the branch.
  for (const std::string& file :
       {folder + "/.git", copy.gitDirectory + "/HEAD", copy.gitDirectory + "/config.worktree",
        copy.gitDirectory + "/commondir", copy.commonDirectory + "/config"})
    files.push_back(file);
  std::vector<std::string> stamped = record.configurationFiles;
  stamped.insert(stamped.end(), files.begin(), files.end());
  FileStamps stamps(stamped);
  const GitCommand git = git_.in(copy.root);
  const Result<ScopedConfig> config = ScopedConfig::read(git);
  if (!config) {
    record.failure = config.problem();
    return;
  }
  record.programs = OwnPrograms::of(*config);
  record.ownFiles = ownSettingsFiles(*config, copy);
  if (record.programs.settings.size() > kMostSettings)
    record.failure = "Its configuration names more programs than can be switched off.";
  else if (!obeys(git, record.programs))
    record.failure = "This git cannot be told not to run a program that its configuration names.";
  std::vector<std::string> now = config->files();
  if (std::ranges::includes(record.configurationFiles, now)) record.configurationStamps = stamps;
  record.configurationFiles = std::move(now);
}

bool ProgramGuard::obeys(const GitCommand& git, const OwnPrograms& programs) const {
  const auto isOdd = [](const auto& setting) {
    return setting.first.find('=') != std::string::npos;
  };
  if (std::ranges::none_of(programs.settings, isOdd)) return true;
  ReadingRules rules;
  rules.settings = programs.settings;
  const ProgramResult listed = git.askUnder(rules, {"config", "-z", "--list"});
  if (!listed.succeeded()) return false;
  const GitConfig config = GitConfig::parse(listed.output);
  return std::ranges::all_of(programs.settings, [&](const auto& setting) {
    return config.get(setting.first) == setting.second;
  });
}

void ProgramGuard::readSubmodules(Record& record) const {
  const WorkingCopy& copy = *record.workingCopy;
  record.submodules.clear();
  record.indexStamps = FileStamps({copy.gitDirectory + "/index"});
  std::optional<std::vector<std::string>> found = submodulesInIndex(git_.in(copy.root), copy);
  // A status would not come either.
  if (!found) record.indexStamps = {};
  if (found) record.submodules = *std::move(found);
}

}  // namespace kelpie::agent
