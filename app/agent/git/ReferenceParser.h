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

// Parses git's output in that format. Absent when the text is not such output.
std::optional<std::vector<ListedReference>> parseReferences(std::string_view output);

// The patterns under which forges keep the heads of pull requests, for `git for-each-ref`.
std::vector<std::string> pullRequestPatterns();
inline constexpr const char* kPullRequestFormat =
    "--format=%(refname)%00%(objectname)%00%(contents:subject)";

// Parses git's output for the patterns in that format. Other lines are left out.
std::vector<PullRequest> parsePullRequests(std::string_view output);

// Parses the output of `git stash list -z --format=%H%x00%gs`, newest first.
inline constexpr const char* kStashFormat = "--format=%H%x00%gs";
std::vector<Stash> parseStashes(std::string_view output);

// The remotes in the configuration.
std::vector<Remote> remotesOf(const GitConfig& config);
// The submodules in `.gitmodules`, read as a configuration; those without a path are left out.
std::vector<Submodule> submodulesOf(const GitConfig& modules);
// Absent when the repository is not set up for git-flow. The lists are still empty.
std::optional<Gitflow> gitflowOf(const GitConfig& config);

}  // namespace kelpie::agent
