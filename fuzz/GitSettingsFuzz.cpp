#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/git/OwnPrograms.h"
#include "agent/git/ProgramGuard.h"
#include "agent/git/ScopedConfig.h"
#include "agent/git/SettingsFiles.h"
#include "agent/git/WorkingCopyFinder.h"
#include "harness/FuzzTarget.h"
#include "harness/GitAnswers.h"
#include "harness/ReadingCost.h"
#include "harness/SampleCopy.h"
#include "harness/TextPieces.h"

// What git says of the settings of a repository that somebody looks at, and of where it is: by this
// the agent decides which programs git must not run. The first piece is the settings with their
// owners; the others answer the questions of a guard. No setting of the repository's own may leave
// a command that the user did not choose.
namespace {

using namespace kelpie;
using namespace kelpie::agent;

constexpr ReadingCost::Limits kGuardLimits{
    .freeBytes = 400'000, .bytesPerByte = 300, .freeSteps = 200'000, .stepsPerByte = 90};

// A working copy with a submodule, as far as files tell.
const SampleCopy& guardedCopy() {
  static const SampleCopy copy{{".git/commondir", "../.git\n"},
                               {".git/index", std::string_view("DIRC\0\0\xE0\0", 8)},
                               {"sub/.git", "gitdir: ../.git/modules/sub\n"},
                               {".git/modules/sub/HEAD", "ref: refs/heads/main\n"},
                               {".git/modules/sub/index", "DIRC"}};
  return copy;
}

// Asks for the settings only: git() answers with one text.
ScopedConfig configIn(TextPieces& pieces, const std::string& folder, bool& isRead) {
  Result<ScopedConfig> config = ScopedConfig::read(GitAnswers(pieces, folder).git());
  isRead = static_cast<bool>(config);
  return isRead ? *std::move(config) : ScopedConfig();
}

using Settings = std::vector<std::pair<std::string, std::string>>;

bool isCommand(std::string_view key) {
  return key == "core.fsmonitor" ||
         (key.starts_with("filter.") && (key.ends_with(".clean") || key.ends_with(".process")));
}

// The commands that git has when these settings come after all others: none, or what others than
// the repository have named; and no path into the working folder.
void checkSettings(const ScopedConfig& config, const Settings& settings) {
  struct Command {
    std::string_view text;
    bool isAllowed;
  };
  std::map<std::string_view, Command> commands;
  bool hasExtension = false;
  for (const ScopedConfig::Entry& entry : config.entries()) {
    const std::string_view key = entry.key;
    if (isCommand(key))
      commands[key] = {entry.value ? std::string_view(*entry.value) : "", !entry.isOwn};
    hasExtension = hasExtension ||
                   (entry.isOwn && key.starts_with("lfs.extension.") && key.ends_with(".clean"));
  }
  for (const auto& [key, value] : settings)
    if (isCommand(key)) commands[key] = {value, value == config.usersValue(key)};
  require(commands.contains("core.fsmonitor"));
  for (const auto& [key, command] : commands) {
    if (command.text.empty()) continue;
    require(command.isAllowed);
    const std::string_view program = command.text.substr(0, command.text.find_first_of(" \t"));
    require(program.find('/') == std::string_view::npos ||
            std::string_view("/~$\"'").find(program.front()) != std::string_view::npos);
    // That filter runs what the settings name as its extensions.
    require(!hasExtension || !key.starts_with("filter.lfs."));
  }
}

void guardRepository(FuzzTarget::Input input) {
  const SampleCopy& copy = guardedCopy();
  const WorkingCopy workingCopy = copy.workingCopy();
  copy.renewHead();
  TextPieces pieces(textOf(input), copy.root());
  const ReadingCost cost;
  bool isRead = false;
  const ScopedConfig config = configIn(pieces, copy.root(), isRead);
  if (isRead) {
    checkSettings(config, OwnPrograms::of(config).settings);
    (void)config.files();
    (void)ownSettingsFiles(config, workingCopy);
  }
  const GitAnswers answers(pieces, copy.root());
  ProgramGuard guard(answers.git(), {[] { return std::vector<std::string>{"/trusted"}; },
                                     [](const std::string&, const std::vector<std::string>&) {}});
  const ReadingRules rules = guard.rulesFor(copy.root());
  (void)guard.settingsFilesOf(copy.root());
  (void)guard.objectionTo(workingCopy);
  (void)settingsFiles(answers.git());
  cost.check("GitSettingsFuzz", pieces.sizeWith(GitAnswers::kBytesOfRecord), kGuardLimits);
  // Nobody trusts it: either nothing is asked, or these are switched off.
  const auto isMonitor = [](const auto& setting) { return setting.first == "core.fsmonitor"; };
  require(!rules.refusal.empty() ||
          (!rules.mayFetch && std::ranges::any_of(rules.settings, isMonitor)));
}

const FuzzTarget kGitSettingsFuzz("GitSettingsFuzz", guardRepository);

}  // namespace
