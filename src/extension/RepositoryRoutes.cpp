#include "extension/RepositoryRoutes.h"

#include <string_view>

#include "protocol/Selectors.h"
#include "refs/KPRefsManager.h"
#include "status/KPRepository.h"

namespace kelpie {

namespace {

template <auto Member>
constexpr auto callsReferences = callsPart<&KPRepository::refsManager, Member>;

constexpr Route<KPRepository> kRepositoryOperations[] = {
    // Status intake and badges.
    {selector::kSetStatusInfo, calls<&KPRepository::setStatusInfo>},
    {"updateStagedStatus:", calls<&KPRepository::updateStagedStatus>},
    {"updateUnstagedStatus:", calls<&KPRepository::updateUnstagedStatus>},
    {"updateBadges:", calls<&KPRepository::updateBadges>},
    {"addObservedURL:", calls<&KPRepository::addObservedURL>},
    {"updateBadgeIdentifierForURL:", calls<&KPRepository::updateBadgeIdentifierForURL>},
    {"updateStatusOfDirectoryURL:", calls<&KPRepository::updateStatusOfDirectoryURL>},

    // Of the references manager.
    {selector::kSetReferences, callsReferences<&KPRefsManager::setReferences>},
    {selector::kSetStashes, callsReferences<&KPRefsManager::setStashes>},
    {selector::kSetGitflowInfo, callsReferences<&KPRefsManager::setGitflowInfo>},
    {selector::kSetHeadBranch, callsReferences<&KPRefsManager::setHeadBranch>},
    {selector::kSetBare, callsReferences<&KPRefsManager::setBare>},
    {selector::kSetHasGitlfs, callsReferences<&KPRefsManager::setHasGitlfs>},
    {selector::kSetHasHeadCommit, callsReferences<&KPRefsManager::setHasHeadCommit>},

    // Properties.
    {selector::kSetIdentifier, calls<&KPRepository::setIdentifier>},
    {selector::kSetGitUrl, calls<&KPRepository::setGitUrl>},
    {"setState:", calls<&KPRepository::setState>},
    {"setStatus:", calls<&KPRepository::setStatus>},
    {"setDirty:", calls<&KPRepository::setDirty>},
    {"setRealDirty:", calls<&KPRepository::setRealDirty>},
    {"setDisabled:", calls<&KPRepository::setDisabled>},
    {"setCreatedDirectoriesForDeletedItems:",
     calls<&KPRepository::setCreatedDirectoriesForDeletedItems>},
    {"setDirtyUrls:", calls<&KPRepository::setDirtyUrls>},
    {"setIgnoredUrls:", calls<&KPRepository::setIgnoredUrls>},
    {"setDeletedUrls:", calls<&KPRepository::setDeletedUrls>},
};

// clang-format off
constexpr std::string_view kRepositoryWithoutEffect[] = {
    // No message can carry a references manager or a queue, and a repository is nothing without
    // them: those two stay.
    "setRefsManager:", "setUpdateQueue:",
    // Questions: a message gets no answer.
    "identifierForUrl:", "isStagedItemAtURL:", "isUnstagedItemAtURL:", "isDiffableItemAtURL:",
    "isDiscardableItemAtURL:", "isRevertableItemAtURL:", "isTrackedItemAtURL:",
    "isConflictedItemAtURL:", "isParentIgnoredUrl:", "badgeIdentifierForStatus:",
    "stashesMenuWithAction:", "remotesMenuWithAction:", "submodulesMenuWithAction:",
    "pullRequestsMenuWithAction:",
};
// clang-format on

constexpr RouteTable<KPRepository> kRepositoryRoutes = {
    kRepositoryOperations, {}, kRepositoryWithoutEffect};

}  // namespace

const RouteTable<KPRepository>& repositoryRoutes() { return kRepositoryRoutes; }

}  // namespace kelpie
