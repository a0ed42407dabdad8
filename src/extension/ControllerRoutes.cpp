#include "extension/ControllerRoutes.h"

#include <algorithm>
#include <iterator>

#include "extension/KPKelpieSync.h"
#include "protocol/Selectors.h"

namespace kelpie {

namespace {

constexpr auto answers = &noEffect<KPKelpieSync>;
constexpr auto repositoryAction = calls<&KPKelpieSync::remoteRepositoryAction>;
constexpr auto applicationAction = calls<&KPKelpieSync::applicationAction>;

// Those that take a list are overloaded for the menus.
void setTargetURLs(KPKelpieSync& controller, const Object& urls) { controller.setTargetURLs(urls); }

// No message can carry a port or a process watch: theirs is nil.
void setPort(KPKelpieSync& controller, const Object& /*port*/) { controller.setPort(nullptr); }

void setMonitor(KPKelpieSync& controller, const Object& /*monitor*/) {
  controller.setMonitor(nullptr);
}

// The actions stand together: see actionRoutes().
constexpr Route<KPKelpieSync> kRoutes[] = {
    // Presence, folders and repositories.
    {"updateApplicationRunning:", calls<&KPKelpieSync::updateApplicationRunning>},
    {"setApplicationPid:", calls<&KPKelpieSync::setApplicationPid>},
    {"updateFolders", calls<&KPKelpieSync::updateFolders>},
    {selector::kLookAgain, calls<&KPKelpieSync::beginObservingDirectoryAtURL>},
    {"endObservingDirectoryAtURL:", calls<&KPKelpieSync::endObservingDirectoryAtURL>},
    {"requestBadgeIdentifierForURL:", calls<&KPKelpieSync::requestBadgeIdentifierForURL>},
    {"repositoryForURL:", answers},
    {selector::kRepositoryOpened, calls<&KPKelpieSync::openRepositoryWithUrls>},

    // Actions on a repository.
    {"addRemote:", repositoryAction},
    {"addSubmodule:", repositoryAction},
    {"applyPatch:", repositoryAction},
    {"applyStash:", repositoryAction},
    {"blameItems:", repositoryAction},
    {"checkout:", repositoryAction},
    {"commit:", repositoryAction},
    {"compareCommits:", repositoryAction},
    {"createBranch:", repositoryAction},
    {"createPullRequest:", repositoryAction},
    {"createTag:", repositoryAction},
    {"deleteBranches:", repositoryAction},
    {"deleteRemoteBranches:", repositoryAction},
    {"deleteRemotes:", repositoryAction},
    {"deleteStashes:", repositoryAction},
    {"deleteSubmodules:", repositoryAction},
    {"deleteTags:", repositoryAction},
    {"diff:", repositoryAction},
    {"discard:", repositoryAction},
    {"discardAll:", repositoryAction},
    {"excludeItems:", repositoryAction},
    {"exportCommits:", repositoryAction},
    {"externalDiff:", repositoryAction},
    {"fastForward:", repositoryAction},
    {"fetch:", repositoryAction},
    {"finishGitflowFeature:", repositoryAction},
    {"finishGitflowHotfix:", repositoryAction},
    {"finishGitflowRelease:", repositoryAction},
    {"historyItems:", repositoryAction},
    {"ignoreItems:", repositoryAction},
    {"lfsFetch:", repositoryAction},
    {"lfsPrune:", repositoryAction},
    {"lfsPush:", repositoryAction},
    {"merge:", repositoryAction},
    {"prune:", repositoryAction},
    {"pull:", repositoryAction},
    {"push:", repositoryAction},
    {"rebase:", repositoryAction},
    {"renameBranch:", repositoryAction},
    {"renameRemoteBranch:", repositoryAction},
    {"reset:", repositoryAction},
    {"resolve:", repositoryAction},
    {"restore:", repositoryAction},
    {"revertItems:", repositoryAction},
    {"saveStash:", repositoryAction},
    {"showBrowser:", repositoryAction},
    {"showRemoteSettings:", repositoryAction},
    {"showSettings:", repositoryAction},
    {"showSubmoduleSettings:", repositoryAction},
    {"stage:", repositoryAction},
    {"startGitflowFeature:", repositoryAction},
    {"startGitflowHotfix:", repositoryAction},
    {"startGitflowRelease:", repositoryAction},
    {"unstage:", repositoryAction},
    {"untrackItems:", repositoryAction},
    {"remoteRepositoryAction:", repositoryAction},

    // Actions on the application.
    {"quit:", applicationAction},
    {"showAboutPanel:", applicationAction},
    {"showConfiguration:", applicationAction},
    {"showPreferences:", applicationAction},

    // Requests for a new repository.
    {"clone:", calls<&KPKelpieSync::clone>},
    {"createRepository:", calls<&KPKelpieSync::createRepository>},

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
    // No message can carry a queue, and the controller serves nobody without one.
    {"setObserverQueue:", answers},
    // The values of repositories that are not open yet: always absent, so what is set is lost.
    {"setReferenceses:", answers},
    {"setStasheses:", answers},
    {"setGitflowInfos:", answers},
    {"setBares:", answers},
    {"setGitlfss:", answers},
    {"setHeadBranches:", answers},
    {"setHasHeadCommits:", answers},

    // Questions, whose answers nobody takes.
    {"repositories", answers},
    {"allObservedFiles", answers},
    {"inactiveObservedFiles", answers},
    {"observedDirectories", answers},
    {"observerQueue", answers},
    {"port", answers},
    {"senderObjects", answers},
    {"referenceses", answers},
    {"stasheses", answers},
    {"gitflowInfos", answers},
    {"bares", answers},
    {"gitlfss", answers},
    {"headBranches", answers},
    {"hasHeadCommits", answers},
    {"targetURLs", answers},
    {"applicationPid", answers},
    {"monitor", answers},
    {"portName", answers},
    {"toolbarItemName", answers},
    {"toolbarItemToolTip", answers},
    {"toolbarItemImage", answers},

    // The controller's beginning and end are its owner's, not a message's.
    {"init", answers},
    {"dealloc", answers},
};

constexpr const Route<KPKelpieSync>* routeOf(std::string_view selector) {
  return std::ranges::find(kRoutes, selector, &Route<KPKelpieSync>::selector);
}

constexpr std::string_view kFirstAction = "addRemote:";
constexpr std::string_view kLastAction = "createRepository:";
static_assert(routeOf(kFirstAction) < routeOf(kLastAction) &&
              routeOf(kLastAction) != std::end(kRoutes));

}  // namespace

std::span<const Route<KPKelpieSync>> controllerRoutes() { return kRoutes; }

std::span<const Route<KPKelpieSync>> actionRoutes() {
  return {routeOf(kFirstAction), routeOf(kLastAction) + 1};
}

}  // namespace kelpie
