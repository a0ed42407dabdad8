#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/actions/IncomingFiles.h"
#include "agent/actions/IndexListing.h"
#include "agent/actions/KeptChanges.h"
#include "agent/actions/TreeListing.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/GitVersion.h"
#include "agent/git/Submodules.h"
#include "agent/git/WorkingCopySummary.h"
#include "harness/FuzzTarget.h"
#include "harness/GitAnswers.h"
#include "harness/ReadingCost.h"
#include "harness/SampleCopy.h"
#include "harness/TextPieces.h"

// What git lists for actions: the index, trees, differences, and the records of what an action has
// put aside. All of it may have been made by somebody else. The first byte chooses the reader.
namespace {

using namespace kelpie;
using namespace kelpie::agent;

constexpr ReadingCost::Limits kListingLimits{
    .freeBytes = 400'000, .bytesPerByte = 200, .freeSteps = 100'000, .stepsPerByte = 90};

const SampleCopy& listedCopy() {
  static const SampleCopy copy{{".git/HEAD", "ref: refs/heads/main\n"},
                               {"sub/.git", "gitdir: ../.git/modules/sub\n"},
                               {"in/the/way", "x"}};
  return copy;
}

bool isWanted(std::string_view path) { return !path.starts_with('-'); }

void readIndex(const GitCommand& git, TextPieces& /*pieces*/) {
  const auto index = IndexListing::read(git, isWanted);
  if (!index) return;
  for (const auto& [path, entries] : index->entries()) {
    require(isWanted(path) && !entries.empty() && index->at(path) == entries);
    for (const IndexEntry& entry : entries) require(entry.stage >= 0 && entry.stage <= 3);
    (void)index->isAssumedUnchanged(path);
  }
}

void readTree(const GitCommand& git, TextPieces& /*pieces*/) {
  const auto tree = TreeListing::read(git, "HEAD", isWanted);
  if (!tree) return;
  for (const auto& [path, entry] : tree->entries())
    require(isWanted(path) && entry.mode.find(' ') == std::string::npos &&
            entry.oid.find(' ') == std::string::npos && *tree->find(path) == entry);
}

void readIncoming(const GitCommand& git, TextPieces& /*pieces*/) {
  const auto source = IncomingFiles::byRebase(git, "refs/heads/up", "refs/heads/main");
  if (!source) return;
  const auto entries = IncomingFiles::entriesOf(git, *source);
  if (!entries) return;
  for (const auto& [path, entry] : *entries)
    require(entry.mode.find(' ') == std::string::npos && entry.oid.find(' ') == std::string::npos &&
            !entry.mode.starts_with(':') && !entry.oid.starts_with(':'));
  PathPlan plan;
  (void)IncomingFiles::addObstacles(git, *entries, plan);
}

void readRecord(const GitCommand& git, TextPieces& /*pieces*/) {
  const KeptChanges kept(git, listedCopy().workingCopy());
  const auto newest = kept.newest();
  const auto* record = std::get_if<std::optional<KeptChanges::Record>>(&newest);
  if (record == nullptr || !*record) return;
  std::vector<std::pair<std::string, std::uint64_t>> blobs;
  for (const auto& [path, item] : (*record)->items) {
    require(WorkingFiles::isSafe(path));
    if (!item.blob.empty()) blobs.emplace_back(item.blob, item.size);
  }
  std::size_t count = 0;
  (void)kept.readBlobs(blobs, [&](std::string_view) { return ++count < 100; });
}

void readSummary(const GitCommand& git, TextPieces& /*pieces*/) {
  const StatusSnapshot status(
      listedCopy().root(), RepositoryState::None,
      {{"a", "", KPStatusWorkdirNew, false, false}, {"b", "", KPStatusIgnored, false, false}},
      true);
  require(WorkingCopySummary::read(git, listedCopy().workingCopy(), &status).changes.size() == 1);
  (void)problemOfGit(git);
}

// The first pieces are the index itself, and a shared one: git is only asked where these may hold a
// submodule.
void readSubmoduleList(const GitCommand& git, TextPieces& pieces) {
  const SampleCopy& copy = listedCopy();
  for (const char* name : {".git/index", ".git/sharedindex.0"}) copy.put({name, pieces.next()});
  if (const auto submodules = submodulesInIndex(git, copy.workingCopy()))
    for (const std::string& path : *submodules) require(path.starts_with(copy.root() + "/"));
}

constexpr std::array kListingReaders = {readIndex,  readTree,    readIncoming,
                                        readRecord, readSummary, readSubmoduleList};

void readListing(FuzzTarget::Input input) {
  if (input.empty()) return;
  TextPieces pieces(textOf(input.subspan(1)), listedCopy().root());
  const ReadingCost cost;
  const GitAnswers answers(pieces, listedCopy().root());
  kListingReaders.at(input[0] % kListingReaders.size())(answers.git(), pieces);
  cost.check("GitListingsFuzz", pieces.sizeWith(GitAnswers::kBytesOfRecord), kListingLimits);
}

const FuzzTarget kGitListingsFuzz("GitListingsFuzz", readListing);

}  // namespace
