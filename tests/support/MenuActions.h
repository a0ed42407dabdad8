#pragma once

#include <string_view>

namespace kelpie {

// The actions that menu items bear, written down once more for the tests: the controller's, the
// main application's and the app extension's own tables are each held to this list. Every text ends
// in a null character.

inline constexpr std::string_view kRepositoryActions[] = {
    "addRemote:",
    "addSubmodule:",
    "applyPatch:",
    "applyStash:",
    "blameItems:",
    "checkout:",
    "commit:",
    "compareCommits:",
    "createBranch:",
    "createPullRequest:",
    "createTag:",
    "deleteBranches:",
    "deleteRemoteBranches:",
    "deleteRemotes:",
    "deleteStashes:",
    "deleteSubmodules:",
    "deleteTags:",
    "diff:",
    "discard:",
    "discardAll:",
    "excludeItems:",
    "exportCommits:",
    "externalDiff:",
    "fastForward:",
    "fetch:",
    "finishGitflowFeature:",
    "finishGitflowHotfix:",
    "finishGitflowRelease:",
    "historyItems:",
    "ignoreItems:",
    "lfsFetch:",
    "lfsPrune:",
    "lfsPush:",
    "merge:",
    "prune:",
    "pull:",
    "push:",
    "rebase:",
    "renameBranch:",
    "renameRemoteBranch:",
    "reset:",
    "resolve:",
    "restore:",
    "revertItems:",
    "saveStash:",
    "showBrowser:",
    "showRemoteSettings:",
    "showSettings:",
    "showSubmoduleSettings:",
    "stage:",
    "startGitflowFeature:",
    "startGitflowHotfix:",
    "startGitflowRelease:",
    "unstage:",
    "untrackItems:",
};
inline constexpr std::string_view kApplicationActions[] = {
    "quit:",
    "showAboutPanel:",
    "showConfiguration:",
    "showPreferences:",
};
inline constexpr std::string_view kCreationActions[] = {
    "clone:",
    "createRepository:",
};

}  // namespace kelpie
