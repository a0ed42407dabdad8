#include <memory>
#include <string>
#include <variant>

#include "agent/actions/WebAddress.h"
#include "agent/git/ReferencesReader.h"
#include "agent/git/Refspecs.h"
#include "agent/link/ReferenceMessages.h"
#include "harness/FuzzTarget.h"
#include "harness/GitAnswers.h"
#include "harness/ReadingCost.h"
#include "harness/SampleCopy.h"
#include "harness/TextPieces.h"

// What git says of references, remotes, stashes, pull requests and submodules: names that others
// have chosen. The pieces answer the questions of one reading, in order. What is read becomes the
// messages to the extension.
namespace {

using namespace kelpie;
using namespace kelpie::agent;

constexpr ReadingCost::Limits kReferencesLimits{
    .freeBytes = 100'000, .bytesPerByte = 400, .freeSteps = 300'000, .stepsPerByte = 250};

const SampleCopy& referencesCopy() {
  static const SampleCopy copy{{".gitmodules", "[submodule \"a\"]\n"},
                               {".git/info/attributes", "* filter=lfs\n"}};
  return copy;
}

void checkReferences(const ReferencesSnapshot& references) {
  for (const auto* list : {&references.branches, &references.tags, &references.remoteBranches}) {
    for (const Reference& reference : *list) {
      require(!reference.fullName.empty() && reference.number > 0);
      require(reference.kind != ReferenceKind::RemoteBranch || reference.isDetached ||
              references.remoteOf(reference) != nullptr);
    }
  }
  for (const Remote& remote : references.remotes) {
    (void)webAddress(remote.url);
    (void)nameOnRemote(remote.fetchRefspecs, "refs/remotes/origin/main");
  }
  for (const Submodule& submodule : references.submodules) require(!submodule.path.empty());
}

void readReferences(FuzzTarget::Input input) {
  const SampleCopy& copy = referencesCopy();
  TextPieces pieces(textOf(input), copy.root());
  const ReadingCost cost;
  const GitAnswers answers(pieces, copy.root());
  ReferencesReader reader(answers.git(), copy.workingCopy());
  const ReferencesReader::Reading reading = reader.read();
  if (const auto* read = std::get_if<std::shared_ptr<const ReferencesSnapshot>>(&reading)) {
    checkReferences(**read);
    for (const auto& message : {referencesObject, stashesObject, gitflowObject, headBranchObject})
      (void)message(**read);
  }
  cost.check("GitReferencesFuzz", pieces.size(), kReferencesLimits);
}

const FuzzTarget kGitReferencesFuzz("GitReferencesFuzz", readReferences);

}  // namespace
