#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/IndexFolders.h"
#include "agent/git/ProgramGuard.h"
#include "agent/git/StatusMerge.h"
#include "agent/git/StatusOrder.h"
#include "agent/git/StatusReader.h"
#include "harness/FuzzTarget.h"
#include "harness/GitAnswers.h"
#include "harness/ReadingCost.h"
#include "harness/SampleCopy.h"
#include "harness/TextPieces.h"
#include "platform/linux/LinuxFileSystem.h"

// What git says of the status, which names the files of a foreign repository. The first piece is
// the places that change after the first reading, one each line; the others answer the questions:
// for the settings, for the whole status, for a part of it, and for the tracked files. Where the
// places begin with a "!", a guard asks as well, before each question.
namespace {

using namespace kelpie;
using namespace kelpie::agent;

constexpr ReadingCost::Limits kStatusLimits{
    .freeBytes = 400'000, .bytesPerByte = 200, .freeSteps = 250'000, .stepsPerByte = 90};

// The index that the list of tracked files belongs to, and nothing else.
const SampleCopy& statusCopy() {
  static const SampleCopy copy{{".git/index", "DIRC"}};
  return copy;
}

// The watch tells of paths that exist, which are not long.
constexpr std::size_t kLongestPlace = 256;

ChangedPlaces placesIn(std::string_view lines) {
  ChangedPlaces places;
  for (const std::string_view line : linesOf(lines))
    if (!line.empty() && line.size() <= kLongestPlace) places.add(line);
  return places;
}

void checkItems(const StatusSnapshot& status) {
  for (const StatusItem& item : status.items()) {
    require(!item.path.empty());
    require(status.itemAt(item.path) != nullptr);
  }
  // Only what is in order can have a part replaced.
  require(status.terms() == nullptr || isInOrder(status.items()));
}

void readStatus(FuzzTarget::Input input) {
  const SampleCopy& copy = statusCopy();
  TextPieces pieces(textOf(input), copy.root());
  const ReadingCost cost;
  const std::string changed = pieces.next();
  const ChangedPlaces places = placesIn(changed);
  const GitAnswers answers(pieces, copy.root());
  GitCommand git = answers.git();
  if (changed.starts_with('!')) {
    copy.renewHead();
    git = git.guardedBy(std::make_shared<ProgramGuard>(answers.git(), ProgramGuard::Callbacks()));
  }
  const StatusReader reader(git, copy.workingCopy());
  const StatusReader::Reading first = reader.read();
  const auto* known = std::get_if<std::shared_ptr<const StatusSnapshot>>(&first);
  if (known != nullptr) {
    checkItems(**known);
    const StatusReader::Update update = reader.update(known->get(), places);
    if (const auto* next = std::get_if<std::shared_ptr<const StatusSnapshot>>(&update.reading)) {
      checkItems(**next);
      const std::string difference = differenceBetween((*known)->items(), (*next)->items());
      require(!difference.empty() || (*known)->items() == (*next)->items());
      (void)(*next)->toObject(LinuxFileSystem());
    }
  }
  IndexFolders tracked(answers.git(), copy.workingCopy());
  (void)tracked.readIfChanged();
  cost.check("GitStatusFuzz", pieces.sizeWith(GitAnswers::kBytesOfRecord), kStatusLimits);
}

const FuzzTarget kGitStatusFuzz("GitStatusFuzz", readStatus);

}  // namespace
