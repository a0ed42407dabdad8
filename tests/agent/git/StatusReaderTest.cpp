#include "agent/git/StatusReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/GitSandbox.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

class StatusReaderTest : public testing::Test {
 protected:
  void SetUp() override {
    sandbox_.init("r");
    for (const char* file : {"current", "modified", "staged", "deleted", "removed", "moved",
                             "replaced", "sub/inner", "packed"})
      sandbox_.write("r/" + std::string(file), std::string(file) + " has a line\n");
    sandbox_.write("r/.gitignore", "*.o\nbuild\n");
    sandbox_.commitAll("r", "one");
  }

  StatusReader::Reading tryRead(const std::string& folder) const {
    const GitCommand git("git", "/");
    const auto finding = WorkingCopyFinder(git).find(sandbox_.path(folder));
    EXPECT_TRUE(finding.workingCopy) << finding.failure;
    return StatusReader(git, finding.workingCopy.value_or(WorkingCopy())).read();
  }

  std::shared_ptr<const StatusSnapshot> read(const std::string& folder = "r") const {
    const StatusReader::Reading reading = tryRead(folder);
    if (const auto* why = std::get_if<std::string>(&reading)) {
      ADD_FAILURE() << *why;
      return std::make_shared<StatusSnapshot>("", RepositoryState::None, std::vector<StatusItem>(),
                                              true);
    }
    return std::get<0>(reading);
  }

  std::map<std::string, int> words(const std::string& folder = "r") const {
    std::map<std::string, int> result;
    const std::shared_ptr<const StatusSnapshot> status = read(folder);
    for (const StatusItem& item : status->items()) result[item.path] = item.word;
    return result;
  }

  GitSandbox sandbox_;
};

TEST_F(StatusReaderTest, EveryKindOfChange) {
  sandbox_.write("r/modified", "changed\n");
  sandbox_.write("r/staged", "changed\n");
  sandbox_.git("r", {"add", "staged"});
  sandbox_.remove("r/deleted");
  sandbox_.git("r", {"rm", "-q", "removed"});
  sandbox_.git("r", {"mv", "moved", "moved here"});
  sandbox_.remove("r/replaced");
  std::filesystem::create_symlink("current", sandbox_.path("r/replaced"));
  sandbox_.git("r", {"rm", "-q", "--cached", "packed"});
  sandbox_.write("r/added", "new\n");
  sandbox_.git("r", {"add", "added"});
  sandbox_.write("r/untracked/deep/file", "new\n");
  sandbox_.write("r/x.o", "");
  sandbox_.write("r/build/out/file", "");
  const std::map<std::string, int> want = {
      {"modified", 0x0100}, {"staged", 0x0002}, {"deleted", 0x0200},
      {"removed", 0x0004},  {"moved here", 8},  {"replaced", 0x0400},
      {"packed", 0x0084},   {"added", 0x0001},  {"untracked/deep/file", 0x0080},
      {"x.o", 0x4000},      {"build", 0x4000},
  };
  EXPECT_EQ(words(), want);
  EXPECT_EQ(read()->itemAt("moved here")->renamedFrom, "moved");
  EXPECT_TRUE(read()->itemAt("build")->isFolder) << "one item, with all that is in it";
}

TEST_F(StatusReaderTest, NothingChanged) { EXPECT_TRUE(read()->items().empty()); }

TEST_F(StatusReaderTest, ConflictsOfAMerge) {
  sandbox_.git("r", {"checkout", "-q", "-b", "other"});
  sandbox_.write("r/modified", "theirs\n");
  sandbox_.write("r/both", "theirs\n");
  sandbox_.git("r", {"rm", "-q", "deleted"});
  sandbox_.commitAll("r", "theirs");
  sandbox_.git("r", {"checkout", "-q", "main"});
  sandbox_.write("r/modified", "ours\n");
  sandbox_.write("r/both", "ours\n");
  sandbox_.write("r/deleted", "ours\n");
  sandbox_.commitAll("r", "ours");
  EXPECT_FALSE(sandbox_.tryGit("r", {"merge", "-q", "other"}).succeeded());
  const std::map<std::string, int> want = {
      {"modified", 0x8000}, {"both", 0x9000}, {"deleted", 0x8000}};
  EXPECT_EQ(words(), want);
}

TEST_F(StatusReaderTest, ASubmoduleIsOneItem) {
  sandbox_.init("lib");
  sandbox_.write("lib/f", "1\n");
  sandbox_.commitAll("lib", "one");
  sandbox_.git("r", {"submodule", "--quiet", "add", "../lib", "lib"});
  sandbox_.commitAll("r", "sub");
  EXPECT_TRUE(words().empty());
  sandbox_.write("r/lib/f", "2\n");
  const std::map<std::string, int> want = {{"lib", 0x0100}};
  EXPECT_EQ(words(), want);
  EXPECT_TRUE(read()->itemAt("lib")->isFolder);
}

TEST_F(StatusReaderTest, AnUntrackedRepositoryInsideIsOneItem) {
  sandbox_.init("r/nested");
  sandbox_.write("r/nested/f", "1\n");
  const std::map<std::string, int> want = {{"nested", 0x0080}};
  EXPECT_EQ(words(), want);
}

TEST_F(StatusReaderTest, TheUsersWishNotToSeeUntrackedFilesCounts) {
  sandbox_.write("r/untracked", "");
  sandbox_.write("r/folder/deep/untracked", "");
  sandbox_.write("r/modified", "changed\n");
  sandbox_.git("r", {"rm", "-q", "--cached", "current"});
  // As if it were ignored; and what was taken out of the index is still that.
  const std::map<std::string, int> want = {
      {"modified", 0x0100}, {"untracked", 0x4000}, {"folder", 0x4000}, {"current", 0x0004}};
  for (const char* no : {"no", "false", "off", "0"}) {
    sandbox_.git("r", {"config", "status.showUntrackedFiles", no});
    if (std::string_view(no) != "no" && !sandbox_.tryGit("r", {"status"}).succeeded())
      continue;  // a git that does not know the word
    EXPECT_EQ(words(), want) << no;
    EXPECT_FALSE(read()->untrackedShown());
  }
  sandbox_.git("r", {"config", "status.showUntrackedFiles", "normal"});
  EXPECT_EQ(words().count("untracked"), 1U);
}

TEST_F(StatusReaderTest, AskingTakesNoLockAndWritesNoIndex) {
  const std::string before = sandbox_.read("r/.git/index");
  sandbox_.write("r/current", sandbox_.read("r/current"));  // only its time changed
  sandbox_.write("r/.git/index.lock", "");
  EXPECT_TRUE(words().empty());
  EXPECT_EQ(sandbox_.read("r/.git/index"), before);
}

TEST_F(StatusReaderTest, OddNames) {
  for (const char* name : {"a -> b", "line\nend", "\xff\xfe", "-n", "*.c", ":(top)x"})
    sandbox_.write("r/" + std::string(name), "");
  EXPECT_EQ(words(), (std::map<std::string, int>{{"a -> b", 0x80},
                                                 {"line\nend", 0x80},
                                                 {"\xff\xfe", 0x80},
                                                 {"-n", 0x80},
                                                 {"*.c", 0x80},
                                                 {":(top)x", 0x80}}));
}

TEST_F(StatusReaderTest, ABareRepositoryHasNoItems) {
  sandbox_.git(".", {"clone", "-q", "--bare", "r", "b.git"});
  EXPECT_TRUE(read("b.git")->items().empty());
}

TEST_F(StatusReaderTest, ABrokenIndexTellsGitsWords) {
  sandbox_.write("r/.git/index", "no index");
  const StatusReader::Reading reading = tryRead("r");
  const auto* why = std::get_if<std::string>(&reading);
  ASSERT_NE(why, nullptr);
  EXPECT_NE(why->find("index"), std::string::npos) << *why;
}

// -- In parts -------------------------------------------------------------------------------------

class StatusInParts : public StatusReaderTest {
 protected:
  StatusReader::Update update(const std::shared_ptr<const StatusSnapshot>& known,
                              const std::vector<std::string>& changed) const {
    ChangedPlaces places;
    for (const std::string& path : changed) places.add(path);
    const auto finding = WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path("r"));
    return StatusReader(GitCommand("git", "/"), finding.workingCopy.value())
        .update(known.get(), places);
  }
  static std::map<std::string, int> wordsOf(const StatusReader::Update& update) {
    std::map<std::string, int> result;
    for (const StatusItem& item : std::get<0>(update.reading)->items())
      result[item.path] = item.word;
    return result;
  }
};

TEST_F(StatusInParts, OnlyWhatIsSaidToHaveChangedIsLookedAt) {
  sandbox_.write("r/modified", "changed\n");
  const auto known = read();
  sandbox_.write("r/sub/inner", "changed\n");
  sandbox_.write("r/sub/new", "");
  sandbox_.write("r/current", "changed, but not said to be\n");
  sandbox_.write("r/modified", "modified has a line\n");
  const auto now = update(known, {"sub/inner", "sub/new", "modified"});
  EXPECT_EQ(now.whole, "");
  EXPECT_EQ(wordsOf(now), (std::map<std::string, int>{{"sub/inner", 0x100}, {"sub/new", 0x80}}));
  const auto next = update(std::get<0>(now.reading), {"current"});
  EXPECT_EQ(next.whole, "");
  EXPECT_EQ(wordsOf(next), words());
}

TEST_F(StatusInParts, TheWholeIsReadWhereAPartIsNotEnough) {
  const auto known = read();
  sandbox_.write("r/current", "changed\n");
  sandbox_.write("r/sub/inner", "changed\n");
  EXPECT_NE(update(nullptr, {"sub"}).whole, "");
  EXPECT_EQ(wordsOf(update(nullptr, {"sub"})), words());
  std::filesystem::create_hard_link(sandbox_.path("r/current"), sandbox_.path("r/sub/other name"));
  const auto linked = update(known, {"sub/other name"});
  EXPECT_NE(linked.whole, "");
  EXPECT_EQ(wordsOf(linked), words());
}

TEST_F(StatusInParts, ARenameThatGitSeesOneSideOfIsReadWhole) {
  sandbox_.git("r", {"mv", "moved", "sub/moved"});
  const auto known = read();
  sandbox_.write("r/sub/inner", "changed\n");
  EXPECT_EQ(update(known, {"sub/inner"}).whole, "") << "the rename is elsewhere";
  const auto now = update(known, {"sub"});
  EXPECT_NE(now.whole, "");
  EXPECT_EQ(wordsOf(now), words());
}

// Git pairs a deleted file with a file in conflict that is much like it, and names only the latter.
TEST_F(StatusInParts, ADeletedFileThatAConflictHidesIsHiddenAsInTheWhole) {
  for (const char* file : {"moved", "like", "much like"})
    sandbox_.write("r/" + std::string(file), "one\ntwo\nthree\nfour\n");
  sandbox_.commitAll("r", "alike");
  sandbox_.git("r", {"checkout", "-q", "-b", "other"});
  sandbox_.git("r", {"mv", "moved", "theirs"});
  sandbox_.commitAll("r", "theirs");
  sandbox_.git("r", {"checkout", "-q", "main"});
  sandbox_.git("r", {"mv", "moved", "ours"});
  sandbox_.commitAll("r", "ours");
  EXPECT_FALSE(sandbox_.tryGit("r", {"merge", "-q", "other"}).succeeded());
  auto known = read();
  ASSERT_EQ(known->items().size(), 3U);
  const auto step = [&](const std::vector<std::string>& changed) {
    const auto now = update(known, changed);
    EXPECT_EQ(wordsOf(now), words()) << changed.front();
    known = std::get<0>(now.reading);
  };
  for (const char* file : {"like", "much like", "current"}) {
    sandbox_.remove("r/" + std::string(file));
    step({file});
  }
  sandbox_.write("r/like", "one\ntwo\nthree\nfour\n");
  step({"like"});
  sandbox_.remove("r/theirs");
  step({"theirs"});
  sandbox_.write("r/sub/inner", "changed\n");
  step({"sub/inner"});
}

TEST_F(StatusInParts, OtherTermsThanBeforeHaveTheWholeRead) {
  const auto known = read();
  const auto finding = WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path("r"));
  StatusTerms terms = *known->terms();
  terms.rules.mayEnterSubmodules = !terms.rules.mayEnterSubmodules;
  const StatusSnapshot other(known->root(), RepositoryState::None, known->items(),
                             std::make_shared<const StatusTerms>(terms));
  ChangedPlaces places;
  places.add("current");
  const StatusReader reader(GitCommand("git", "/"), finding.workingCopy.value());
  EXPECT_NE(reader.update(&other, places).whole, "");
  EXPECT_EQ(reader.update(known.get(), places).whole, "");
}

TEST_F(StatusReaderTest, CancellingEndsIt) {
  const GObjectPtr<GCancellable> cancellable(g_cancellable_new());
  g_cancellable_cancel(cancellable.get());
  const GitCommand git("git", "/");
  const auto finding = WorkingCopyFinder(git).find(sandbox_.path("r"));
  ASSERT_TRUE(finding.workingCopy);
  const StatusReader::Reading reading =
      StatusReader(git, *finding.workingCopy).read(cancellable.get());
  EXPECT_TRUE(std::holds_alternative<std::string>(reading));
}

}  // namespace
}  // namespace kelpie::agent
