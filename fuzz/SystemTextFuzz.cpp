#include <unistd.h>

#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "agent/AgentConfiguration.h"
#include "agent/git/GitVersion.h"
#include "agent/git/IgnoreFile.h"
#include "agent/git/WorkingCopyFinder.h"
#include "cli/link/AgentClient.h"
#include "harness/FuzzTarget.h"
#include "harness/GitAnswers.h"
#include "harness/ReadingCost.h"
#include "harness/TextPieces.h"
#include "linux/base/GLibPointers.h"
#include "linux/base/SearchPath.h"
#include "platform/linux/MountTable.h"
#include "support/TemporaryFolder.h"

// Small texts of the system and of files: the table of mounts, the agent's own settings, git's
// version, files of patterns, the files by which a git directory is found, and what the agent tells
// the command line on the bus. The first byte chooses the reader.
namespace {

using namespace kelpie;
using namespace kelpie::agent;

constexpr ReadingCost::Limits kSystemLimits{
    .freeBytes = 400'000, .bytesPerByte = 128, .freeSteps = 100'000, .stepsPerByte = 120};

const TemporaryFolder& systemFolder() {
  static const TemporaryFolder folder;
  return folder;
}

std::string fileWith(std::string_view text) { return systemFolder().addFile("text", text); }

void readMounts(std::string_view text) {
  for (const std::string& point : MountTable::mountPoints(text)) require(!point.empty());
}

void readConfiguration(std::string_view text) {
  std::vector<std::string> problems;
  const auto configuration = AgentConfiguration::read(fileWith(text), problems);
  require(!configuration.gitProgram.empty());
}

void readVersion(std::string_view text) {
  if (const auto version = GitVersion::parse(text))
    require(version->major >= 0 && version->minor >= 0);
}

// Patterns that are there are not added once more; the rest of the file stays.
void readPatterns(std::string_view text) {
  const std::string path(text.substr(0, text.find('\n')));
  const auto pattern = ignorePattern(path, false);
  if (!pattern) return;
  const std::string file = fileWith(text);
  require(addIgnorePatterns(file, {*pattern}).empty());
  std::ifstream first(file, std::ios::binary);
  const std::string once((std::istreambuf_iterator<char>(first)), {});
  require(once.starts_with(text));
  require(addIgnorePatterns(file, {*pattern}).empty());
  std::ifstream second(file, std::ios::binary);
  require(std::string((std::istreambuf_iterator<char>(second)), {}) == once);
}

// A ".git" that is a file, and the "gitdir" and "commondir" of a git directory.
void findWorkingCopy(TextPieces& pieces) {
  for (const char* name : {"copy/.git", "git/gitdir", "git/commondir"})
    systemFolder().addFile(name, pieces.next());
  const GitAnswers answers(pieces, systemFolder().path());
  for (const std::string& folder :
       {systemFolder().addFolder("copy"), systemFolder().addFolder("copy/inner"),
        systemFolder().path()}) {
    const auto finding = WorkingCopyFinder(answers.git()).find(folder);
    require(!finding.workingCopy || finding.failure.empty());
  }
}

void readBusAnswer(std::string_view text) {
  const GVariantPtr values(g_variant_ref_sink(g_variant_new_from_data(
      G_VARIANT_TYPE_VARDICT, text.data(), text.size(), FALSE, nullptr, nullptr)));
  const auto action = cli::AgentClient::actionOf(values.get());
  require(action.title.size() <= text.size() && action.folder.size() <= text.size());
}

constexpr std::array kSystemReaders = {readMounts, readConfiguration, readVersion, readPatterns,
                                       readBusAnswer};

void readSystemText(FuzzTarget::Input input) {
  if (input.empty()) return;
  TextPieces pieces(textOf(input.subspan(1)), systemFolder().path());
  const std::size_t reader = input[0] % (kSystemReaders.size() + 1);
  if (reader < kSystemReaders.size()) {
    const std::string text = pieces.next();
    const ReadingCost cost;
    kSystemReaders.at(reader)(text);
    cost.check("SystemTextFuzz", text.size(), kSystemLimits);
  } else {
    const ReadingCost cost;
    findWorkingCopy(pieces);
    cost.check("SystemTextFuzz, working copy", pieces.size(), kSystemLimits);
  }
}

const FuzzTarget kSystemTextFuzz("SystemTextFuzz", readSystemText);

}  // namespace
