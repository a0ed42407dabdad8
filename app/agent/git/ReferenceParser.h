#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/GitConfig.h"
#include "agent/git/ReferencesSnapshot.h"

namespace kelpie::agent {

// One line of `git for-each-ref` with the format below.
struct ListedReference {
  std::string name;
  std::string oid;       // of the commit, where the reference is an annotated tag too
  std::string upstream;  // full name or empty
  bool isHead = false;
  bool isSymbolic = false;  // stands for another reference
};

inline constexpr const char* kReferenceFormat =
    "--format=%(refname)%00%(objectname)%00%(*objectname)%00%(upstream)%00%(HEAD)%00%(symref)";

// What git printed with that format. Missing when the text is not such output.
std::optional<std::vector<ListedReference>> parseReferences(std::string_view output);

// The patterns under which forges keep the heads of pull requests, for `git for-each-ref`.
std::vector<std::string> pullRequestPatterns();
inline constexpr const char* kPullRequestFormat =
    "--format=%(refname)%00%(objectname)%00%(contents:subject)";

// What git printed for the patterns with that format. Lines that it would not print are left out.
std::vector<PullRequest> parsePullRequests(std::string_view output);

// What `git stash list -z` printed with "--format=%H%x00%gs", newest first.
inline constexpr const char* kStashFormat = "--format=%H%x00%gs";
std::vector<Stash> parseStashes(std::string_view output);

// What the configuration says of remotes.
std::vector<Remote> remotesOf(const GitConfig& config);
// What `.gitmodules`, read as a configuration, says of submodules; one without a path is left out.
std::vector<Submodule> submodulesOf(const GitConfig& modules);
// Missing when the repository is not set up for git-flow. The lists are still empty.
std::optional<Gitflow> gitflowOf(const GitConfig& config);

}  // namespace kelpie::agent
