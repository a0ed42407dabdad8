#include "agent/git/StatusPlan.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "agent/git/StatusOrder.h"

namespace kelpie::agent {
namespace {

constexpr const char* kEverything = "";

std::vector<StatusItem> items(const std::string& gitSays) { return parseStatus(gitSays).value(); }

StatusPlan planAfter(const std::vector<std::string>& changed, const std::vector<StatusItem>& known,
                     StatusTerms terms = {}) {
  ChangedPlaces places;
  for (const std::string& path : changed) places.add(path);
  const StatusSnapshot snapshot("/r", RepositoryState::None, known,
                                std::make_shared<const StatusTerms>(terms));
  return StatusPlan::of(&snapshot, places);
}

std::vector<std::string> namesIn(const std::string& folder, int count) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.push_back(folder + "f" + std::to_string(i));
  return names;
}

std::string entry(const std::string& letters, const std::string& path) {
  return "1 " + letters + " N... 1 1 1 x y " + path + std::string(1, '\0');
}

std::string rename(const std::string& to, const std::string& from) {
  return "2 R. N... 1 1 1 x y R100 " + to + std::string(1, '\0') + from + std::string(1, '\0');
}

std::string conflict(const std::string& path) {
  return "u UU N... 1 1 1 1 x y z " + path + std::string(1, '\0');
}

TEST(StatusPlan, AsksForWhatHasChanged) {
  const std::string known = std::string("? nested/\0! a/out/\0", 19);
  struct Case {
    const char* why;
    std::vector<std::string> changed;
    std::vector<std::string> asked;
  };
  const Case cases[] = {
      {"a file is asked for by its name", {"a/b/f"}, {"a/b/f"}},
      {"so is one in the root", {"f"}, {"f"}},
      {"a few are, too", {"a/f", "b/g", "h"}, {"a/f", "b/g", "h"}},
      {"a folder holds what lies in it", {"a/b/f", "a/b"}, {"a/b"}},
      {"a name that only begins alike is another", {"a", "a.c", "a/x"}, {"a", "a.c"}},
      {"of many files the folder is asked for", namesIn("a/b/", 5), {"a/b"}},
      {"of more than are kept, too", namesIn("a/b/", 50), {"a/b"}},
      {"in the root only names can be", namesIn("", 6), namesIn("", 6)},
      {"folders that hold others", {"a/1", "a/b/2", "a/b/c/3", "a/b/c/4", "x/5"}, {"a", "x"}},
      {"an ignored folder is one item", {"a/out/deep/f"}, {"a/out"}},
      {"a repository is one item", {"nested/f", "nested/g"}, {"nested"}},
      {"its neighbours are not in it", {"nested.c", "a/outer/f"}, {"a/outer/f", "nested.c"}},
      {"names are taken as they are", {":(top)x", "-n", "*"}, {"*", "-n", ":(top)x"}},
  };
  for (const Case& each : cases) {
    const StatusPlan plan = planAfter(each.changed, items(known));
    EXPECT_EQ(plan.paths, each.asked) << each.why;
    EXPECT_EQ(plan.whole, "") << each.why;
  }
}

TEST(StatusPlan, AsksForTheWholeWhereAPartDoesNotTell) {
  StatusTerms hidden;
  hidden.untrackedShown = false;
  StatusTerms anyCase;
  anyCase.ignoresCase = true;
  std::vector<std::string> spread;
  for (int i = 0; i <= 16; ++i) spread.push_back("d" + std::to_string(i) + "/f");
  struct Case {
    const char* why;
    std::vector<std::string> changed;
    std::string known;
    StatusTerms terms;
  };
  const Case cases[] = {
      {"anything may have changed", {"f", kEverything}, "", {}},
      {"nobody says what has changed", {}, "", {}},
      {"too many names in the root", namesIn("", 40), "", {}},
      {"more names in the root than are asked for", namesIn("", 17), "", {}},
      {"too many folders", spread, "", {}},
      {"untracked items are found in another way", {"f"}, "", hidden},
      {"another name may be the same file", {"f"}, "", anyCase},
      {"the new name of a file", {"new/f"}, rename("new/f", "old"), {}},
      {"a folder that holds the new name", {"new"}, rename("new/f", "old"), {}},
      {"the former name of a file", {"old"}, rename("new/f", "old"), {}},
      {"an announced file may become a new name", {"g"}, entry(".A", "f"), {}},
      {"one that was announced again, too", {"g"}, entry("DA", "f"), {}},
      {"a file in conflict", {"f"}, conflict("f"), {}},
      {"a folder that holds one", {"a"}, conflict("a/b/f"), {}},
      {"a deleted file beside a conflict", {"g"}, entry(".D", "d") + conflict("f"), {}},
  };
  for (const Case& each : cases) {
    const StatusPlan plan = planAfter(each.changed, items(each.known), each.terms);
    EXPECT_NE(plan.whole, "") << each.why;
    EXPECT_EQ(plan.paths, std::vector<std::string>()) << each.why;
  }
}

TEST(StatusPlan, ARenameElsewhereHindersNothing) {
  EXPECT_EQ(planAfter({"g"}, items(rename("new/f", "old"))).whole, "");
}

TEST(StatusPlan, AConflictElsewhereHindersNothingWhileNoFileIsMissing) {
  EXPECT_EQ(planAfter({"g"}, items(entry("D.", "d") + conflict("f"))).whole, "");
  EXPECT_EQ(planAfter({"d"}, items(entry(".D", "d"))).whole, "");
}

TEST(StatusPlan, WithoutAStatusThatCanBeMendedTheWholeIsRead) {
  ChangedPlaces places;
  places.add("f");
  EXPECT_NE(StatusPlan::of(nullptr, places).whole, "");
  const StatusSnapshot foreign("/r", RepositoryState::None, {}, true);
  EXPECT_NE(StatusPlan::of(&foreign, places).whole, "");
}

}  // namespace
}  // namespace kelpie::agent
