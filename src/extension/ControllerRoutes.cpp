#include "extension/ControllerRoutes.h"

#include <string_view>

#include "extension/KPKelpieSync.h"
#include "protocol/Selectors.h"

namespace kelpie {

namespace {

// -- Operations -----------------------------------------------------------------------------------

// Those that take a list are overloaded for the menus.
void setTargetURLs(KPKelpieSync& controller, const Object& urls) { controller.setTargetURLs(urls); }

// No message can carry a port or a process watch: theirs is nil.
void setPort(KPKelpieSync& controller, const Object& /*port*/) { controller.setPort(nullptr); }

void setMonitor(KPKelpieSync& controller, const Object& /*monitor*/) {
  controller.setMonitor(nullptr);
}

constexpr Route<KPKelpieSync> kControllerOperations[] = {
    // Presence, folders and repositories.
    {"updateApplicationRunning:", calls<&KPKelpieSync::updateApplicationRunning>},
    {"setApplicationPid:", calls<&KPKelpieSync::setApplicationPid>},
    {"updateFolders", calls<&KPKelpieSync::updateFolders>},
    {selector::kLookAgain, calls<&KPKelpieSync::beginObservingDirectoryAtURL>},
    {"endObservingDirectoryAtURL:", calls<&KPKelpieSync::endObservingDirectoryAtURL>},
    {"requestBadgeIdentifierForURL:", calls<&KPKelpieSync::requestBadgeIdentifierForURL>},
    {selector::kRepositoryOpened, calls<&KPKelpieSync::openRepositoryWithUrls>},

    // Properties.
    {"setRepositories:", calls<&KPKelpieSync::setRepositories>},
    {"setAllObservedFiles:", calls<&KPKelpieSync::setAllObservedFiles>},
    {"setInactiveObservedFiles:", calls<&KPKelpieSync::setInactiveObservedFiles>},
    {"setObservedDirectories:", calls<&KPKelpieSync::setObservedDirectories>},
    {"setPort:", setPort},
    {"setSenderObjects:", calls<&KPKelpieSync::setSenderObjects>},
    {"setTargetURLs:", setTargetURLs},
    {"setMonitor:", setMonitor},
    {"setPortName:", calls<&KPKelpieSync::setPortName>},
};

// -- Actions --------------------------------------------------------------------------------------

// clang-format off
constexpr std::string_view kRepositoryActions[] = {
    "remoteRepositoryAction:",
    // Files.
    "stage:", "unstage:", "untrackItems:", "ignoreItems:", "excludeItems:", "discard:",
    "discardAll:", "revertItems:", "restore:", "resolve:", "applyPatch:",
    // Branches, tags and commits.
    "checkout:", "createBranch:", "renameBranch:", "renameRemoteBranch:", "deleteBranches:",
    "deleteRemoteBranches:", "fastForward:", "merge:", "rebase:", "reset:", "createTag:",
    "deleteTags:", "exportCommits:", "compareCommits:", "commit:",
    // Stashes, remotes, submodules and pull requests.
    "applyStash:", "saveStash:", "deleteStashes:", "addRemote:", "deleteRemotes:", "fetch:",
    "prune:", "pull:", "push:", "addSubmodule:", "deleteSubmodules:", "createPullRequest:",
    // Git-flow and Git-LFS.
    "startGitflowFeature:", "startGitflowHotfix:", "startGitflowRelease:",
    "finishGitflowFeature:", "finishGitflowHotfix:", "finishGitflowRelease:", "lfsFetch:",
    "lfsPrune:", "lfsPush:",
    // Windows.
    "blameItems:", "diff:", "externalDiff:", "historyItems:", "showBrowser:",
    "showRemoteSettings:", "showSettings:", "showSubmoduleSettings:",
};
constexpr std::string_view kApplicationActions[] = {
    "quit:", "showAboutPanel:", "showConfiguration:", "showPreferences:",
};
constexpr std::string_view kClone[] = {"clone:"};
constexpr std::string_view kCreateRepository[] = {"createRepository:"};

constexpr SharedRoute<KPKelpieSync> kActions[] = {
    {calls<&KPKelpieSync::remoteRepositoryAction>, kRepositoryActions},
    {calls<&KPKelpieSync::applicationAction>,      kApplicationActions},
    {calls<&KPKelpieSync::clone>,                  kClone},
    {calls<&KPKelpieSync::createRepository>,       kCreateRepository},
};

// -- Names without effect -------------------------------------------------------------------------

constexpr std::string_view kControllerWithoutEffect[] = {
    // No message can carry a queue, and the controller cannot work without one.
    "setObserverQueue:",
    // The values of repositories that are not open yet: always absent, so what is set is lost.
    "setReferenceses:", "setStasheses:", "setGitflowInfos:", "setBares:", "setGitlfss:",
    "setHeadBranches:", "setHasHeadCommits:",
    // Questions: a message gets no answer.
    "repositoryForURL:",
    "repositories", "allObservedFiles", "inactiveObservedFiles", "observedDirectories",
    "observerQueue", "port", "portName", "monitor", "applicationPid", "senderObjects", "targetURLs",
    "referenceses", "stasheses", "gitflowInfos", "bares", "gitlfss", "headBranches",
    "hasHeadCommits",
    "toolbarItemName", "toolbarItemToolTip", "toolbarItemImage",
    // The controller's beginning and end are its owner's, not a message's.
    "init", "dealloc",
};
// clang-format on

constexpr RouteTable<KPKelpieSync> kControllerRoutes = {kControllerOperations, kActions,
                                                        kControllerWithoutEffect};

}  // namespace

const RouteTable<KPKelpieSync>& controllerRoutes() { return kControllerRoutes; }

}  // namespace kelpie
