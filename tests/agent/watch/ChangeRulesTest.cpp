#include "agent/watch/ChangeRules.h"

#include <gtest/gtest.h>

#include <string>

namespace kelpie::agent {
namespace {

constexpr Change kNothing{};
constexpr Change kStatus{true, false};
constexpr Change kReferences{false, true};
constexpr Change kBoth{true, true};

std::string show(const Change& change) {
  return std::string(change.status ? "status " : "") + (change.references ? "references" : "");
}

struct Case {
  const char* folder;
  const char* name;
  Change want;
};

TEST(ChangeRules, OfAUsualWorkingCopy) {
  const WorkingCopy copy{"/r", "/r/.git", "/r/.git", false};
  const Case cases[] = {
      {"/r", "file", kStatus},
      {"/r", ".gitignore", kStatus},
      {"/r", ".gitmodules", kBoth},
      {"/r", ".gitattributes", kBoth},
      {"/r/sub", ".gitmodules", kStatus},
      {"/r/sub", "x.lock", kStatus},
      {"/r", ".git", kStatus},
      {"/r/.git", "index", kStatus},
      {"/r/.git", "index.lock", kNothing},
      {"/r/.git", "HEAD", kBoth},
      {"/r/.git", "HEAD.lock", kNothing},
      {"/r/.git", "ORIG_HEAD", kNothing},
      {"/r/.git", "FETCH_HEAD", kNothing},
      {"/r/.git", "COMMIT_EDITMSG", kNothing},
      {"/r/.git", "objects", kNothing},
      {"/r/.git", "config", kBoth},
      {"/r/.git", "packed-refs", kBoth},
      {"/r/.git", "MERGE_HEAD", kStatus},
      {"/r/.git", "rebase-merge", kStatus},
      {"/r/.git/refs/heads", "main", kBoth},
      {"/r/.git/refs/heads", "main.lock", kNothing},
      {"/r/.git/refs/heads/feature", "x", kBoth},
      {"/r/.git/refs", "heads", kBoth},
      {"/r/.git/refs", "stash", kReferences},
      {"/r/.git/refs/tags", "v1", kReferences},
      {"/r/.git/refs/remotes/origin", "main", kReferences},
      {"/r/.git/refs", "kelpie", kNothing},
      {"/r/.git/refs/kelpie/kept/main", "00000001", kNothing},
      {"/r/.git/refs/kelpies", "v1", kReferences},
      {"/r/.git/logs/refs", "stash", kReferences},
      {"/r/.git/logs/refs", "heads", kNothing},
      {"/r/.git/logs", "HEAD", kNothing},
      {"/r/.git/info", "exclude", kStatus},
      {"/r/.git/info", "attributes", kBoth},
      {"/r/.git/modules/deps/lib", "HEAD", kStatus},
      {"/r/.git/modules/deps/lib", "index", kStatus},
      {"/r/.git/modules/deps/lib", "index.lock", kNothing},
      {"/r/.git/modules/deps/lib", "config", kStatus},
      {"/r/.git/modules/deps/lib/logs", "HEAD", kStatus},
      {"/r/sub/.git", "index", kStatus},
      {"/r/sub/.git", "index.lock", kNothing},
      {"/r/sub/.git", "FETCH_HEAD", kNothing},
      {"/elsewhere/git", "HEAD", kStatus},
      {"/elsewhere/git", "x", kNothing},
  };
  for (const Case& c : cases)
    EXPECT_EQ(show(changeOf(copy, c.folder, c.name)), show(c.want)) << c.folder << " " << c.name;
}

TEST(ChangeRules, OfALinkedWorkingTree) {
  const WorkingCopy copy{"/w", "/r/.git/worktrees/w", "/r/.git", false};
  const Case cases[] = {
      {"/w", "file", kStatus},
      {"/r/.git/worktrees/w", "index", kStatus},
      {"/r/.git/worktrees/w", "HEAD", kBoth},
      {"/r/.git/refs/heads", "main", kBoth},
      {"/r/.git", "packed-refs", kBoth},
      {"/r/.git", "config", kBoth},
      // The main working tree's own.
      {"/r/.git", "index", kNothing},
      {"/r/.git", "HEAD", kNothing},
      {"/r/.git", "MERGE_HEAD", kNothing},
  };
  for (const Case& c : cases)
    EXPECT_EQ(show(changeOf(copy, c.folder, c.name)), show(c.want)) << c.folder << " " << c.name;
}

TEST(ChangeRules, OfASubmodule) {
  const WorkingCopy copy{"/r/deps/lib", "/r/.git/modules/deps/lib", "/r/.git/modules/deps/lib",
                         false};
  EXPECT_EQ(show(changeOf(copy, "/r/.git/modules/deps/lib", "HEAD")), show(kBoth));
  EXPECT_EQ(show(changeOf(copy, "/r/deps/lib/src", "f")), show(kStatus));
}

TEST(ChangeRules, OfABareRepository) {
  const WorkingCopy copy{"/b.git", "/b.git", "/b.git", true};
  EXPECT_EQ(show(changeOf(copy, "/b.git/refs/heads", "x")), show(kBoth));
  EXPECT_EQ(show(changeOf(copy, "/b.git", "description")), show(kNothing));
}

TEST(ChangeRules, AFolderHoldsItselfAndWhatIsBelow) {
  EXPECT_TRUE(isWithin("/a/b", "/a/b"));
  EXPECT_TRUE(isWithin("/a/b/c", "/a/b"));
  EXPECT_FALSE(isWithin("/a/bc", "/a/b"));
  EXPECT_FALSE(isWithin("/a", "/a/b"));
}

TEST(ChangeRules, WhereAChangeCanMakeADifference) {
  const WorkingCopy copy{"/r", "/r/.git", "/r/.git", false};
  struct Place {
    const char* why;
    const char* folder;
    const char* name;
    const char* want;
  };
  const Place places[] = {
      {"a file is judged by itself", "/r", "file", "file"},
      {"so is one further down", "/r/a/b", "file", "a/b/file"},
      {"a folder itself", "/r/a/b", "", "a/b"},
      {"the root itself", "/r", "", ""},
      {"a list of ignored files", "/r/a", ".gitignore", ""},
      {"in another case it may be the same file", "/r/a", ".GitIgnore", ""},
      {"attributes", "/r", ".gitattributes", ""},
      {"submodules", "/r", ".gitmodules", ""},
      {"a repository comes or goes", "/r/a", ".git", ""},
      {"inside one", "/r/a/.git", "index", ""},
      {"git's own files", "/r/.git", "index", ""},
      {"further down", "/r/.git/info", "exclude", ""},
      {"of a submodule, elsewhere", "/elsewhere", "HEAD", ""},
  };
  for (const Place& each : places)
    EXPECT_EQ(placeOf(copy, each.folder, each.name), each.want) << each.why;
}

}  // namespace
}  // namespace kelpie::agent
