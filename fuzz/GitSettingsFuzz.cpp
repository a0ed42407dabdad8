#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/OwnPrograms.h"
#include "agent/git/ProgramGuard.h"
#include "agent/git/ScopedConfig.h"
#include "agent/git/SettingsFiles.h"
#include "agent/git/WorkingCopyFinder.h"
#include "harness/FuzzTarget.h"
#include "harness/GitAnswers.h"
#include "harness/ReadingCost.h"
#include "harness/TextPieces.h"
#include "support/TemporaryFolder.h"

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
const TemporaryFolder& guardedFolder() {
  static const TemporaryFolder folder;
  static const bool isMade = [] {
    folder.addFile(".git/HEAD", "ref: refs/heads/main\n");
    folder.addFile(".git/commondir", "../.git\n");
    folder.addFile(".git/index", std::string_view("DIRC\0\0\xE0\0", 8));
    folder.addFile("sub/.git", "gitdir: ../.git/modules/sub\n");
    folder.addFile(".git/modules/sub/HEAD", "ref: refs/heads/main\n");
    folder.addFile(".git/modules/sub/index", "DIRC");
    return true;
  }();
  require(isMade);
  return folder;
}

// Asks for the settings only: git() answers with one text.
ScopedConfig configIn(TextPieces& pieces, const std::string& folder, bool& isRead) {
  Result<ScopedConfig> config = ScopedConfig::read(GitAnswers(pieces, folder).git());
  isRead = static_cast<bool>(config);
  return isRead ? *std::move(config) : ScopedConfig();
}

bool isCommandOfFilter(std::string_view key) {
  return key.starts_with("filter.") && (key.ends_with(".clean") || key.ends_with(".process"));
}

// A command stands in the settings that switch programs off only when it is the user's own.
void checkPrograms(const ScopedConfig& config) {
  const OwnPrograms programs = OwnPrograms::of(config);
  for (const auto& [key, value] : programs.settings) {
    if (value.empty() || (key != "core.fsmonitor" && !isCommandOfFilter(key))) continue;
    require(value == config.usersValue(key));
  }
}

void guardRepository(FuzzTarget::Input input) {
  const TemporaryFolder& folder = guardedFolder();
  // So young that the guard must look at the settings each time, whenever this runs.
  folder.addFile(".git/HEAD", "ref: refs/heads/main\n");
  TextPieces pieces(textOf(input), folder.path());
  const ReadingCost cost;
  bool isRead = false;
  const ScopedConfig config = configIn(pieces, folder.path(), isRead);
  if (isRead) {
    checkPrograms(config);
    (void)config.files();
    (void)ownSettingsFiles(config, {folder.path(), folder / ".git", folder / ".git", false});
  }
  const GitAnswers answers(pieces, folder.path());
  ProgramGuard guard(answers.git(), {[] { return std::vector<std::string>{"/trusted"}; },
                                     [](const std::string&, const std::vector<std::string>&) {}});
  const ReadingRules rules = guard.rulesFor(folder.path());
  (void)guard.settingsFilesOf(folder.path());
  (void)guard.objectionTo({folder.path(), folder / ".git", folder / ".git", false});
  (void)settingsFiles(answers.git());
  cost.check("GitSettingsFuzz", pieces.size() + GitAnswers::kBytesOfRecord * pieces.records(),
             kGuardLimits);
  require(rules.refusal.empty() || !rules.refusal.starts_with(' '));
}

const FuzzTarget kGitSettingsFuzz("GitSettingsFuzz", guardRepository);

}  // namespace
