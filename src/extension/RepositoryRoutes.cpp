#include "extension/RepositoryRoutes.h"

#include "status/KPRepository.h"

namespace kelpie {

namespace {

constexpr auto answers = &noEffect<KPRepository>;

constexpr Route<KPRepository> kRoutes[] = {
    // Status intake and badges.
    {"setStatusInfo:", calls<&KPRepository::setStatusInfo>},
    {"updateStagedStatus:", calls<&KPRepository::updateStagedStatus>},
    {"updateUnstagedStatus:", calls<&KPRepository::updateUnstagedStatus>},
    {"updateBadges:", calls<&KPRepository::updateBadges>},
    {"addObservedURL:", calls<&KPRepository::addObservedURL>},
    {"updateBadgeIdentifierForURL:", calls<&KPRepository::updateBadgeIdentifierForURL>},
    {"updateStatusOfDirectoryURL:", calls<&KPRepository::updateStatusOfDirectoryURL>},

    // What the references manager holds.
    {"setReferences:", calls<&KPRepository::setReferences>},
    {"setStashes:", calls<&KPRepository::setStashes>},
    {"setGitflowInfo:", calls<&KPRepository::setGitflowInfo>},
    {"setHeadBranch:", calls<&KPRepository::setHeadBranch>},
    {"setBare:", calls<&KPRepository::setBare>},
    {"setHasGitlfs:", calls<&KPRepository::setHasGitlfs>},
    {"setHasHeadCommit:", calls<&KPRepository::setHasHeadCommit>},

    // Properties. No message can carry a references manager or a queue, and a repository is
    // nothing without them: those two stay.
    {"setIdentifier:", calls<&KPRepository::setIdentifier>},
    {"setGitUrl:", calls<&KPRepository::setGitUrl>},
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
    {"setRefsManager:", answers},
    {"setUpdateQueue:", answers},

    // Questions, whose answers nobody takes.
    {"identifierForUrl:", answers},
    {"isStagedItemAtURL:", answers},
    {"isUnstagedItemAtURL:", answers},
    {"isDiffableItemAtURL:", answers},
    {"isDiscardableItemAtURL:", answers},
    {"isRevertableItemAtURL:", answers},
    {"isTrackedItemAtURL:", answers},
    {"isConflictedItemAtURL:", answers},
    {"isParentIgnoredUrl:", answers},
    {"badgeIdentifierForStatus:", answers},
    {"stashesMenuWithAction:", answers},
    {"remotesMenuWithAction:", answers},
    {"submodulesMenuWithAction:", answers},
    {"pullRequestsMenuWithAction:", answers},
};

}  // namespace

std::span<const Route<KPRepository>> repositoryRoutes() { return kRoutes; }

}  // namespace kelpie
