#pragma once

#include <cstdint>
#include <string_view>

namespace kelpie {

// The sections of the tree of references, in their order below its root; the first place is empty.
inline constexpr std::string_view kLocalBranchesTitle = "Local Branches";
inline constexpr std::string_view kTagsTitle = "Tags";
inline constexpr std::string_view kRemotesTitle = "Remotes";
inline constexpr std::string_view kSubmodulesTitle = "Submodules";
inline constexpr std::string_view kPullRequestsTitle = "Pull Requests";

// The keys of the dictionary of git-flow: two branches, and the lists of those that are open.
inline constexpr std::string_view kGitflowMasterKey = "gitflow.branch.master";
inline constexpr std::string_view kGitflowDevelopKey = "gitflow.branch.develop";
inline constexpr std::string_view kGitflowFeaturesKey = "gitflow.branch.features";
inline constexpr std::string_view kGitflowReleasesKey = "gitflow.branch.releases";
inline constexpr std::string_view kGitflowHotfixesKey = "gitflow.branch.hotfixes";

// The tag of the menu entry that stands for all remotes; the others have their positions.
inline constexpr std::int64_t kAllRemotesTag = -1;

}  // namespace kelpie
