#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {

// The kinds of reference that the menus tell apart, as the numbers that a record bears.
enum class ReferenceKind : std::int64_t { LocalBranch = 2, RemoteBranch = 3, Tag = 7 };

// A branch or a tag. All names are bytes.
struct Reference {
  ReferenceKind kind = ReferenceKind::LocalBranch;
  std::string fullName;   // such as "refs/heads/feature/x"; "HEAD" when no branch is checked out
  std::string shortName;  // such as "feature/x", of a remote's branch "origin/feature/x"
  std::string oid;        // of the commit, hexadecimal; empty when there is none
  std::string upstream;   // full name; empty when it tracks none
  bool isHead = false;
  bool isDetached = false;
  // What a menu item names the reference by. Stays the same while the repository is open.
  std::int64_t number = 0;
};

struct Remote {
  std::string name;
  std::string url;
  std::string pushUrl;  // empty when it is the same
  std::vector<std::string> fetchRefspecs;
  std::vector<std::string> pushRefspecs;
  std::string tagOption;  // "--tags", "--no-tags" or empty
  bool skipFetchAll = false;
};

struct Submodule {
  std::string name;
  std::string path;  // relative to the root
  std::string url;
  std::string oid;     // of the commit in the index, hexadecimal; empty when there is none
  std::string ignore;  // the three settings, in git's words; empty when they are not set
  std::string update;
  std::string fetchRecurse;
};

struct Stash {
  std::string oid;    // hexadecimal
  std::string title;  // git's own, such as "WIP on main: 1a2b3c4 Subject"
};

struct PullRequest {
  std::string fullName;
  std::string oid;
  std::string title;  // such as "#12 Subject"
};

// The branches of git-flow, where a repository is set up for it.
struct Gitflow {
  std::string master;
  std::string develop;
  std::string featurePrefix;
  std::string releasePrefix;
  std::string hotfixPrefix;
  std::string versionTagPrefix;
  std::vector<std::string> features;  // short names of branches, with the prefix
  std::vector<std::string> releases;
  std::vector<std::string> hotfixes;
};

// All that is known of a repository's references at one time. Lists stand in the order of the
// menus: a menu's position is a position here.
struct ReferencesSnapshot {
  std::vector<Reference> branches;  // local ones, and a detached HEAD at the end
  std::vector<Reference> tags;
  std::vector<Reference> remoteBranches;  // of all remotes that are configured
  std::vector<Remote> remotes;            // by name
  std::vector<Submodule> submodules;
  std::vector<PullRequest> pullRequests;
  std::vector<Stash> stashes;
  std::optional<Gitflow> gitflow;
  // What is checked out; in a repository without a commit, the branch to be. Absent when HEAD
  // cannot be read.
  std::optional<Reference> headBranch;
  bool hasHeadCommit = false;
  bool bare = false;
  bool hasGitlfs = false;
  // The remote that a branch without one of its own is pushed to.
  std::string pushDefault;

  // The reference that a menu item names; null when it is gone.
  const Reference* referenceWithNumber(std::int64_t number) const;
  const Reference* referenceNamed(std::string_view fullName) const;
  // The remote that a branch of a remote belongs to: the longest name that fits. Null for none.
  const Remote* remoteOf(const Reference& remoteBranch) const;
};

}  // namespace kelpie::agent
