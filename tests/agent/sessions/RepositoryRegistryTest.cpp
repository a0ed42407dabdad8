#include "agent/sessions/RepositoryRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>

#include "agent/PeerFixture.h"
#include "protocol/MessageKeys.h"
#include "protocol/StatusWord.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

using Selectors = std::vector<std::string>;

const Selectors kReferenceSelectors = {
    "setBare:",    "setHasHeadCommit:", "setHeadBranch:", "setReferences:",
    "setStashes:", "setGitflowInfo:",   "setHasGitlfs:"};

class RepositoryRegistryTest : public PeerFixture {
 protected:
  RepositoryRegistryTest() {
    sandbox_.init("r");
    sandbox_.write("r/sub/f", "1\n");
    sandbox_.commitAll("r", "one");
  }

  std::string pathOfOpened() const {
    return last("openRepositoryWithUrls:").at(0).url().value().path();
  }
  std::string gitPathOfOpened() const {
    const Object urls = last("openRepositoryWithUrls:");
    return urls.at(urls.size() - 1).url().value().path();
  }
  std::size_t linesWith(std::string_view text) const {
    const auto lines = log_.lines();
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
  }
};

TEST_F(RepositoryRegistryTest, AShallowRequestIsAnsweredWithTheStatusAlone) {
  sandbox_.write("r/sub/f", "2\n");
  start();
  open("r/sub", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(
      selectors(),
      (Selectors{"openRepositoryWithUrls:", "setStatusInfo:", "beginObservingDirectoryAtURL:"}));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("r"));
  EXPECT_EQ(gitPathOfOpened(), sandbox_.path("r/.git"));
  EXPECT_EQ(FileIdentifier::fromObject(lastMessage("setStatusInfo:")[kMessageTargetKey]),
            identifierOf("r"));
  EXPECT_EQ(word("r/sub/f"), KPStatusWorkdirModified);
}

// Between an opening and its status an extension shows everything as unchanged.
TEST_F(RepositoryRegistryTest, NothingIsToldBeforeThereIsAStatus) {
  sandbox_.writeScript("bin/git",
                       "case \"$*\" in *' status '*)\n"
                       "  echo x >> \"$HOME/asked\"\n"
                       "  while [ ! -e \"$HOME/go\" ]; do sleep 0.01; done;;\n"
                       "esac\n"
                       "exec git \"$@\"\n");
  start(sandbox_.path("bin/git"));
  open("r");
  ASSERT_TRUE(waitFor([&] { return sandbox_.exists("asked"); }));
  settle();
  EXPECT_EQ(selectors(), Selectors());
  sandbox_.write("go", "");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  EXPECT_EQ(selectors().at(0), "openRepositoryWithUrls:");
  EXPECT_EQ(selectors().at(1), "setStatusInfo:");
}

TEST_F(RepositoryRegistryTest, AStatusThatWasNotKeptUpToDateIsReadFirst) {
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  registry_->gone(kPort);
  sandbox_.write("r/sub/f", "2\n");
  settle();
  ports_.forgetSent();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(selectors(), (Selectors{"openRepositoryWithUrls:", "setStatusInfo:"}));
  EXPECT_EQ(word("r/sub/f"), KPStatusWorkdirModified);
}

// An extension concludes for itself what the status does not mention.
TEST_F(RepositoryRegistryTest, AfterNamesHaveChangedTheStatusIsSentOnceThoughItIsTheSame) {
  sandbox_.write("r/.gitignore", "/out/\n");
  sandbox_.write("r/out/f", "1\n");
  sandbox_.write("r/out/g", "1\n");
  sandbox_.git("r", {"add", "-A"});
  sandbox_.git("r", {"add", "-f", "sub/f"});
  sandbox_.commitAll("r", "ignores");
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  // What was tracked comes back as what was ignored, in one burst.
  fs::rename(sandbox_.path("r/out/f"), sandbox_.path("r/sub/f"));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(selectors(), Selectors{"setStatusInfo:"});
  ports_.forgetSent();
  // Without a change of names, an equal status is not sent.
  sandbox_.write("r/sub/f", "1\n");
  settle();
  EXPECT_EQ(selectors(), Selectors());
}

// The extension puts only the root's items under the care of a repository that it opens.
TEST_F(RepositoryRegistryTest, TheExtensionIsToldToLookAgainAtFoldersThatItShowedBefore) {
  start();
  open("r", true);
  open("r/sub", true);
  ASSERT_TRUE(waitForCount("beginObservingDirectoryAtURL:", 1));
  EXPECT_EQ(last("beginObservingDirectoryAtURL:").url().value().path(), sandbox_.path("r/sub"));

  // It asks once more, which is no wish for references and leads to no third look.
  const std::size_t answers = count("openRepositoryWithUrls:");
  open("r/sub", false);
  settle();
  EXPECT_EQ(count("beginObservingDirectoryAtURL:"), 1U);
  EXPECT_EQ(count("openRepositoryWithUrls:"), answers);
  EXPECT_EQ(count("setReferences:"), 0U);

  // From now on it has the repository at hand.
  open("r/sub/deeper", true);
  settle();
  EXPECT_EQ(count("beginObservingDirectoryAtURL:"), 1U);
}

TEST_F(RepositoryRegistryTest, ReferencesFollowWhenTheyAreAskedFor) {
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  ports_.forgetSent();
  send("unshallowRepository:", identifierOf("r"));
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  settle();
  EXPECT_EQ(selectors(), kReferenceSelectors);
  EXPECT_FALSE(last("setBare:").boolValue());
  EXPECT_TRUE(last("setHasHeadCommit:").boolValue());
  EXPECT_TRUE(last("setGitflowInfo:").isNil());
}

TEST_F(RepositoryRegistryTest, ARequestThatIsNotShallowIsAnsweredWithEverything) {
  start();
  open("r");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_EQ(selectors().front(), "openRepositoryWithUrls:");
  for (const std::string& selector : kReferenceSelectors)
    EXPECT_EQ(count(selector), 1U) << selector;
}

TEST_F(RepositoryRegistryTest, AFolderOutsideEveryWorkingCopyIsLeftAloneQuietly) {
  sandbox_.makeFolder("plain");
  start();
  open("plain");
  open("r");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(count("openRepositoryWithUrls:"), 1U);
  EXPECT_EQ(log_.lines(), Selectors());
}

TEST_F(RepositoryRegistryTest, ALinkedWorkingTreeHasAGitDirectoryOfItsOwn) {
  sandbox_.git("r", {"worktree", "add", "-q", "../linked"});
  start();
  open("linked/sub", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("linked"));
  EXPECT_EQ(gitPathOfOpened(), sandbox_.path("r/.git/worktrees/linked"));
}

TEST_F(RepositoryRegistryTest, ASubmoduleIsAWorkingCopyOfItsOwn) {
  sandbox_.init("outer");
  sandbox_.git("outer", {"submodule", "--quiet", "add", sandbox_.path("r"), "inner"});
  sandbox_.commitAll("outer", "with a submodule");
  start();
  open("outer/inner/sub", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("outer/inner"));
  EXPECT_EQ(gitPathOfOpened(), sandbox_.path("outer/.git/modules/inner"));
  open("outer", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 2));
  EXPECT_EQ(registry_->count(), 2U);
}

TEST_F(RepositoryRegistryTest, ABareRepositoryIsSaidToBeOne) {
  sandbox_.git(".", {"clone", "-q", "--bare", "r", "bare.git"});
  start();
  open("bare.git");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  EXPECT_TRUE(last("setBare:").boolValue());
  EXPECT_EQ(pathOfOpened(), sandbox_.path("bare.git"));
}

TEST_F(RepositoryRegistryTest, ManyFoldersOfOneWorkingCopyAreOneSession) {
  for (int i = 0; i < 50; ++i) sandbox_.makeFolder("r/sub/" + std::to_string(i));
  start();
  for (int i = 0; i < 50; ++i) open("r/sub/" + std::to_string(i), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(registry_->count(), 1U);
}

TEST_F(RepositoryRegistryTest, OnlyWhatHasChangedIsSentAgain) {
  start();
  open("r");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  sandbox_.write("r/sub/new", "1\n");
  ASSERT_TRUE(waitFor(
      [&] { return count("setStatusInfo:") > 0 && word("r/sub/new") == KPStatusWorkdirNew; }));
  settle();
  for (const std::string& selector : selectors()) EXPECT_EQ(selector, "setStatusInfo:");
  ports_.forgetSent();
  sandbox_.git("r", {"branch", "another"});
  ASSERT_TRUE(waitForCount("setReferences:", 1));
  settle();
  EXPECT_EQ(selectors(), Selectors{"setReferences:"});
}

TEST_F(RepositoryRegistryTest, ACommitChangesStatusAndReferences) {
  sandbox_.write("r/sub/f", "2\n");
  start();
  open("r");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  sandbox_.commitAll("r", "two");
  ASSERT_TRUE(waitForCount("setHeadBranch:", 1));
  ASSERT_TRUE(waitFor([&] {
    return count("setStatusInfo:") > 0 && last("setStatusInfo:")["KPStatusDirtyURLs"].size() == 0;
  }));
  EXPECT_EQ(count("setBare:") + count("setGitflowInfo:") + count("setHasGitlfs:"), 0U);
}

TEST_F(RepositoryRegistryTest, ASecondExtensionIsToldEverything) {
  start();
  open("r");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  open("r", false, kOtherPort);
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1, kOtherPort));
  EXPECT_EQ(count("setStatusInfo:", kOtherPort), 1U);
  EXPECT_EQ(selectors(kOtherPort).size(), 2 + kReferenceSelectors.size());
  ports_.forgetSent();
  sandbox_.write("r/sub/f", "2\n");
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1, kOtherPort));
}

TEST_F(RepositoryRegistryTest, AnExtensionThatPresentsItselfAgainIsToldEverythingAgain) {
  start();
  open("r");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  send("pingPortName:", kPort);
  open("r");
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  EXPECT_EQ(selectors().size(), 2 + kReferenceSelectors.size());
}

TEST_F(RepositoryRegistryTest, ThereIsNeverMoreThanOneStatusAtATime) {
  // A git that holds a folder while it reads the status, and says so when it finds it held.
  sandbox_.writeScript("bin/git",
                       "case \"$*\" in *' status '*)\n"
                       "  mkdir \"$HOME/held\" || echo x >> \"$HOME/overlaps\"\n"
                       "  echo x >> \"$HOME/readings\"\n"
                       "  git \"$@\"; result=$?\n"
                       "  rmdir \"$HOME/held\"\n"
                       "  exit $result;;\n"
                       "esac\n"
                       "exec git \"$@\"\n");
  start(sandbox_.path("bin/git"));
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  for (int i = 0; i < 30; ++i) {
    const std::string name = "r/f" + std::to_string(i);
    sandbox_.write(name, "1\n");
    loop_.runUntil([] { return false; }, std::chrono::milliseconds(20));
  }
  ASSERT_TRUE(waitFor([&] { return word("r/f29") == KPStatusWorkdirNew; }));
  settle();
  EXPECT_FALSE(sandbox_.exists("overlaps"));
  const std::string readings = sandbox_.read("readings");
  EXPECT_LT(std::ranges::count(readings, 'x'), 25) << "a burst is read as one";
}

TEST_F(RepositoryRegistryTest, ADeletedRepositoryIsClosedAndTheOthersGoOn) {
  sandbox_.init("other");
  sandbox_.write("r/loose", "1\n");
  start();
  open("r", true);
  open("other", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 2));
  settle();
  fs::remove_all(sandbox_.path("r"));
  ASSERT_TRUE(waitFor([&] { return registry_->count() == 1; }));
  EXPECT_EQ(linesWith("r: the repository is not there any more, closed"), 1U);
  settle();
  EXPECT_EQ(last("setStatusInfo:")["KPStatusDirtyURLs"].size(), 0U) << "its badges are taken away";
  sandbox_.write("other/f", "1\n");
  EXPECT_TRUE(waitFor([&] { return word("other/f") == KPStatusWorkdirNew; }));
}

TEST_F(RepositoryRegistryTest, AMovedRepositoryIsOpenedAnewWhereItIs) {
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  fs::rename(sandbox_.path("r"), sandbox_.path("moved"));
  ASSERT_TRUE(waitFor([&] { return registry_->count() == 0; }));
  open("moved/sub", true);
  ASSERT_TRUE(waitForCount("openRepositoryWithUrls:", 1));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("moved"));
  sandbox_.write("moved/sub/f", "2\n");
  EXPECT_TRUE(waitFor([&] { return word("moved/sub/f") == KPStatusWorkdirModified; }));
}

TEST_F(RepositoryRegistryTest, AWorkingCopyThatComesIntoBeingAroundAShownFolderIsOpened) {
  sandbox_.makeFolder("plain/sub");
  start();
  open("plain/sub");
  settle();
  EXPECT_EQ(selectors(), Selectors());
  sandbox_.init("plain");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("plain"));
  ASSERT_TRUE(waitForCount("beginObservingDirectoryAtURL:", 1));
  EXPECT_EQ(last("beginObservingDirectoryAtURL:").url().value().path(), sandbox_.path("plain/sub"));
}

TEST_F(RepositoryRegistryTest, AWorkingCopyThatGoesIsTakenAndOpenedAnewWhenItComesBack) {
  start();
  open("r");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  fs::rename(sandbox_.path("r/.git"), sandbox_.path("git"));
  ASSERT_TRUE(waitForCount("setIdentifier:", 1));
  EXPECT_EQ(last("setGitUrl:").url().value().path(), sandbox_.path("r"));
  EXPECT_TRUE(last("setIdentifier:").isNil());
  EXPECT_EQ(last("setStatusInfo:")["KPRepositoryStatus"].size(), 0U);
  ports_.forgetSent();
  fs::rename(sandbox_.path("git"), sandbox_.path("r/.git"));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(selectors(), (Selectors{"openRepositoryWithUrls:", "setIdentifier:", "setGitUrl:",
                                    "setStatusInfo:", "beginObservingDirectoryAtURL:"}));
  EXPECT_EQ(FileIdentifier::fromObject(last("setIdentifier:")), identifierOf("r"));
  // It is watched as before.
  sandbox_.write("r/new", "1\n");
  EXPECT_TRUE(waitFor([&] { return word("r/new") == KPStatusWorkdirNew; }));
}

TEST_F(RepositoryRegistryTest, OneInThePlaceOfAnotherIsOpenedWithoutBeingAskedFor) {
  sandbox_.init("other");
  sandbox_.write("other/g", "1\n");
  start();
  open("r", true);
  open("r/sub", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  fs::rename(sandbox_.path("r"), sandbox_.path("away"));
  fs::rename(sandbox_.path("other"), sandbox_.path("r"));
  ASSERT_TRUE(waitFor([&] {
    return count("openRepositoryWithUrls:") > 0 && count("setStatusInfo:") > 0 &&
           word("r/g") == KPStatusWorkdirNew;
  }));
  EXPECT_EQ(FileIdentifier::fromObject(lastMessage("setStatusInfo:")[kMessageTargetKey]),
            identifierOf("r"));
}

// No event tells of that in the working copy itself.
TEST_F(RepositoryRegistryTest, AMoveOfAFolderAboveIsNoticedWhereItIsShown) {
  sandbox_.init("up/down/one");
  sandbox_.init("up/down/two");
  sandbox_.write("up/down/two/g", "1\n");
  start();
  open("up/down/one", true);
  open("up/down/two", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 2));
  settle();
  ports_.forgetSent();
  fs::rename(sandbox_.path("up"), sandbox_.path("other"));
  open("other/down/two");
  ASSERT_TRUE(waitForCount("openRepositoryWithUrls:", 1));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("other/down/two"));
  sandbox_.write("other/down/two/h", "1\n");
  EXPECT_TRUE(waitFor([&] {
    return count("setStatusInfo:") > 0 && word("other/down/two/h") == KPStatusWorkdirNew;
  }));
}

TEST_F(RepositoryRegistryTest, WorkingCopiesDirectlyInAShownFolderAreOpened) {
  sandbox_.init("code/a");
  sandbox_.init("code/deep/b");
  sandbox_.makeFolder("code/later");
  start();
  open("code");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(pathOfOpened(), sandbox_.path("code/a"));
  EXPECT_EQ(registry_->count(), 1U);
  sandbox_.init("code/later");
  ASSERT_TRUE(waitForCount("openRepositoryWithUrls:", 2));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("code/later"));
  sandbox_.init("code/new");
  ASSERT_TRUE(waitForCount("openRepositoryWithUrls:", 3));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("code/new"));
  fs::rename(sandbox_.path("code/a"), sandbox_.path("code/renamed"));
  ASSERT_TRUE(waitForCount("openRepositoryWithUrls:", 4));
  EXPECT_EQ(pathOfOpened(), sandbox_.path("code/renamed"));
  settle();
  EXPECT_EQ(registry_->count(), 3U);
}

TEST_F(RepositoryRegistryTest, OfOneThatNobodyAskedForGitsRefusalIsNotSaid) {
  sandbox_.init("code/refused");
  sandbox_.git("code/refused", {"config", "core.repositoryFormatVersion", "99"});
  sandbox_.init("code/sound");
  start();
  open("code");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_TRUE(notifier_.shown.empty());
  open("code/refused");
  EXPECT_TRUE(waitFor([&] { return notifier_.shown.size() == 1; })) << "now somebody has";
}

TEST_F(RepositoryRegistryTest, OfThoseNobodyAskedForTheLimitIsKeptAndTheNewestFolderCounts) {
  for (const char* name : {"a", "b", "c", "d"}) {
    sandbox_.init(std::string("code/") + name);
    sandbox_.init(std::string("more/") + name);
  }
  start("git", 10000, std::chrono::minutes(10), 3);
  open("code");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 3));
  settle();
  EXPECT_EQ(registry_->count(), 3U);
  ports_.forgetSent();
  open("more");
  ASSERT_TRUE(waitForCount("openRepositoryWithUrls:", 3));
  settle();
  EXPECT_EQ(registry_->count(), 3U);
  EXPECT_EQ(count("setIdentifier:"), 3U) << "the others are taken away";
  EXPECT_NE(pathOfOpened().find("/more/"), std::string::npos);
  // One that is asked for does not count.
  open("code/a");
  settle();
  EXPECT_EQ(registry_->count(), 4U);
}

TEST_F(RepositoryRegistryTest, AFolderThatIsNoRepositoryAnyMoreIsClosed) {
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  fs::remove_all(sandbox_.path("r/.git"));
  EXPECT_TRUE(waitFor([&] { return registry_->count() == 0; }));
}

TEST_F(RepositoryRegistryTest, ABrokenIndexIsSaidOnceAndReadAgainWhenItIsRepaired) {
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  sandbox_.write("r/.git/index", "this is no index");
  ASSERT_TRUE(waitFor([&] { return !notifier_.shown.empty(); }));
  settle();
  sandbox_.write("r/sub/f", "2\n");
  settle();
  EXPECT_EQ(notifier_.shown.size(), 1U);
  EXPECT_EQ(linesWith("its status cannot be read: "), 1U);
  EXPECT_EQ(registry_->count(), 1U);
  EXPECT_EQ(selectors(), Selectors()) << "what was known before stays";
  sandbox_.remove("r/.git/index");
  sandbox_.git("r", {"reset", "-q"});
  EXPECT_TRUE(waitFor(
      [&] { return count("setStatusInfo:") > 0 && word("r/sub/f") == KPStatusWorkdirModified; }));
}

TEST_F(RepositoryRegistryTest, AMissingGitIsSaidOnceAndUsedOnceItIsThere) {
  start(sandbox_.path("bin/git"));
  registry_->checkGit();
  ASSERT_TRUE(waitFor([&] { return !notifier_.shown.empty(); }));
  open("r", true);
  open("r/sub", true);
  settle();
  EXPECT_EQ(notifier_.shown.size(), 1U);
  EXPECT_EQ(linesWith("git cannot be run: "), 1U);
  EXPECT_EQ(selectors(), Selectors());
  sandbox_.writeScript("bin/git", "exec git \"$@\"\n");
  open("r", true);
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1));
}

// When it was asked for again there may have been a better git, or more to find, already.
TEST_F(RepositoryRegistryTest, WhatIsAskedForWhileASearchFailsIsSearchedForOnceMore) {
  sandbox_.writeScript("bin/git",
                       "if [ ! -e \"$HOME/first\" ]; then\n"
                       "  echo x >\"$HOME/first\"\n"
                       "  while [ ! -e \"$HOME/go\" ]; do sleep 0.01; done\n"
                       "  echo git version 2.11.4\n"
                       "  exit\n"
                       "fi\n"
                       "exec git \"$@\"\n");
  start(sandbox_.path("bin/git"));
  open("r", true);
  ASSERT_TRUE(waitFor([&] { return sandbox_.exists("first"); }));
  open("r", true);
  settle();
  sandbox_.write("go", "");
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_EQ(linesWith("git 2.11 is too old"), 1U);
}

TEST_F(RepositoryRegistryTest, AGitThatIsTooOldIsNotUsed) {
  sandbox_.writeScript("bin/git", "echo git version 2.11.4\n");
  start(sandbox_.path("bin/git"));
  open("r", true);
  ASSERT_TRUE(waitFor([&] { return !notifier_.shown.empty(); }));
  EXPECT_EQ(notifier_.shown.front().text, "git 2.11 is too old. Git 2.26 or newer is needed.");
}

TEST_F(RepositoryRegistryTest, WhyGitWillNotWorkWithARepositoryIsSaidOnce) {
  sandbox_.git("r", {"config", "core.repositoryFormatVersion", "99"});
  start();
  open("r", true);
  ASSERT_TRUE(waitFor([&] { return !notifier_.shown.empty(); }));
  open("r", true);
  settle();
  EXPECT_EQ(notifier_.shown.size(), 1U);
  EXPECT_EQ(linesWith("git will not work with it"), 1U);
}

TEST_F(RepositoryRegistryTest, WhatNobodyUsesIsClosedAfterAWhile) {
  start("git", 10000, std::chrono::milliseconds(10));
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(registry_->count(), 1U);
  ports_.setListening(kPort, false);
  sandbox_.write("r/sub/f", "2\n");
  EXPECT_TRUE(waitFor([&] { return registry_->count() == 0; }));
  EXPECT_EQ(extensions_->count(), 0U);
}

TEST_F(RepositoryRegistryTest, WhatCannotBeWatchedIsReadWhenItIsOpened) {
  for (int i = 0; i < 30; ++i) sandbox_.makeFolder("r/deep/" + std::to_string(i));
  for (int i = 0; i < 30; ++i) sandbox_.write("r/deep/" + std::to_string(i) + "/f", "1\n");
  sandbox_.commitAll("r", "many folders");
  start("git", 12);
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(linesWith("more folders than can be watched"), 1U);
  for (int i = 0; i < 30; ++i) sandbox_.write("r/deep/" + std::to_string(i) + "/f", "2\n");
  open("r/deep/7", true);
  EXPECT_TRUE(waitFor([&] { return word("r/deep/7/f") == KPStatusWorkdirModified; }));
}

TEST_F(RepositoryRegistryTest, WithoutUntrackedFilesTheTrackedFoldersAreWatched) {
  sandbox_.git("r", {"config", "status.showUntrackedFiles", "no"});
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  sandbox_.write("r/sub/f", "2\n");
  EXPECT_TRUE(waitFor([&] { return word("r/sub/f") == KPStatusWorkdirModified; }));
}

}  // namespace
}  // namespace kelpie::agent
