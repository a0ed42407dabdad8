#include "agent/link/RepositoryMessages.h"

#include <optional>
#include <utility>

#include "agent/link/ReferenceMessages.h"
#include "archive/KeyedArchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"

namespace kelpie::agent {
namespace {

struct ReferenceMessage {
  std::string_view selector;
  Object (*argument)(const ReferencesSnapshot& snapshot);
};

// A bare repository takes no status: that it is bare comes first.
constexpr std::array<ReferenceMessage, RepositoryMessages::kReferenceMessages> kReferenceTable = {{
    {selector::kSetBare, [](const ReferencesSnapshot& snapshot) { return Object(snapshot.bare); }},
    {selector::kSetHasHeadCommit,
     [](const ReferencesSnapshot& snapshot) { return Object(snapshot.hasHeadCommit); }},
    {selector::kSetHeadBranch, headBranchObject},
    {selector::kSetReferences, referencesObject},
    {selector::kSetStashes, stashesObject},
    {selector::kSetGitflowInfo, gitflowObject},
    {selector::kSetHasGitlfs,
     [](const ReferencesSnapshot& snapshot) { return Object(snapshot.hasGitlfs); }},
}};

Message archived(Dictionary content) {
  std::optional<Bytes> archive = KeyedArchiver::archivedData(Object(std::move(content)));
  return archive ? std::make_shared<const Bytes>(*std::move(archive)) : nullptr;
}

}  // namespace

bool isSameMessage(const Message& a, const Message& b) {
  return a == b || (a != nullptr && b != nullptr && *a == *b);
}

RepositoryMessages::RepositoryMessages(WorkingCopy workingCopy, FileIdentifier target)
    : workingCopy_(std::move(workingCopy)), target_(std::move(target)) {}

Message RepositoryMessages::opening() const {
  const Objects urls = {URL::fileURLWithPath(workingCopy_.root, true),
                        URL::fileURLWithPath(workingCopy_.gitDirectory, true)};
  return archived({{kMessageSelectorKey, kOpening}, {kMessageArgumentKey, urls}});
}

Message RepositoryMessages::lookAgain(const std::string& folder) const {
  return archived({{kMessageSelectorKey, kLookAgain},
                   {kMessageArgumentKey, URL::fileURLWithPath(folder, true)}});
}

Message RepositoryMessages::status(const StatusSnapshot& snapshot, const FileSystem& files) const {
  return message(kStatus, snapshot.toObject(files));
}

std::array<RepositoryMessages::Step, 3> RepositoryMessages::withdrawal(
    const FileSystem& files) const {
  const StatusSnapshot empty(workingCopy_.root, RepositoryState::None, {}, true);
  return {{{kGitUrl, message(kGitUrl, URL::fileURLWithPath(workingCopy_.root, true))},
           {kStatus, status(empty, files)},
           {kIdentifier, message(kIdentifier, {})}}};
}

std::array<RepositoryMessages::Step, 2> RepositoryMessages::restoration() const {
  return {{{kIdentifier, message(kIdentifier, target_.toObject())},
           {kGitUrl, message(kGitUrl, URL::fileURLWithPath(workingCopy_.gitDirectory, true))}}};
}

RepositoryMessages::References RepositoryMessages::references(
    const ReferencesSnapshot& snapshot) const {
  References all;
  for (std::size_t i = 0; i < kReferenceTable.size(); ++i)
    all[i] = message(kReferenceTable[i].selector, kReferenceTable[i].argument(snapshot));
  return all;
}

std::string_view RepositoryMessages::referenceSelector(std::size_t index) {
  return kReferenceTable.at(index).selector;
}

// A nil argument is a key that is not there.
Message RepositoryMessages::message(std::string_view selector, Object argument) const {
  Dictionary content = {{kMessageSelectorKey, selector}, {kMessageTargetKey, target_}};
  if (!argument.isNil()) content.set(kMessageArgumentKey, std::move(argument));
  return archived(std::move(content));
}

}  // namespace kelpie::agent
