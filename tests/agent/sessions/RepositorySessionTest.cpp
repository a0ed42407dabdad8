#include "agent/sessions/RepositorySession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/FakeNotifier.h"
#include "agent/git/GitSandbox.h"
#include "agent/git/WorkingCopyFinder.h"
#include "agent/link/ExtensionPort.h"
#include "agent/sessions/ReadingPace.h"
#include "agent/sessions/ReadingSlots.h"
#include "agent/watch/DirectoryWatcher.h"
#include "foundation/FileIdentifier.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "linux/base/MainLoop.h"
#include "linux/base/ThreadPool.h"
#include "platform/linux/LinuxFileSystem.h"
#include "platform/linux/LinuxSerialQueues.h"
#include "protocol/MessageKeys.h"
#include "protocol/StatusWord.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/FakeMessagePorts.h"

namespace kelpie::agent {
namespace {

using Selectors = std::vector<std::string>;

// Sessions of real repositories, each with a file "sub/f" that was committed, and the ports of
// extensions whose other ends are the test.
class RepositorySessionTest : public testing::Test {
 protected:
  static constexpr const char* kPort = "g.Sync.11";
  static constexpr const char* kOtherPort = "g.Sync.12";

  RepositorySessionTest() {
    sandbox_.init("r");
    sandbox_.write("r/sub/f", "1\n");
    sandbox_.commitAll("r", "one");
  }

  struct Opened {
    std::unique_ptr<RepositorySession> session;
    std::optional<bool> isGone;  // what closed() was called with
  };

  SessionServices services() {
    return {.loop = loop_,
            .queues = queues_,
            .watcher = *watcher_,
            .names = names_,
            .files = files_,
            .notifier = notifier_,
            .git = GitCommand(git_, "/"),
            .slots = slots_,
            .idleTime = idleTime_,
            .proofTime = proofTime_};
  }

  // The session of the repository in that folder of the sandbox.
  std::unique_ptr<Opened> makeSession(const std::string& folder, bool wasTaken = false) {
    const auto found = WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path(folder));
    auto opened = std::make_unique<Opened>();
    opened->session = std::make_unique<RepositorySession>(
        services(), found.workingCopy.value(), identifierOf(folder), wasTaken,
        RepositorySession::Callbacks{
            [state = opened.get()](bool isGone) { state->isGone = isGone; }});
    return opened;
  }

  FileIdentifier identifierOf(const std::string& folder) const {
    return URL::fileURLWithPath(sandbox_.path(folder)).identifier(files_).value();
  }

  std::shared_ptr<ExtensionPort> makePort(const std::string& name) {
    ports_.setListening(name, true);
    return std::make_shared<ExtensionPort>(ExtensionPort::Services{loop_, queues_, ports_}, name,
                                           ports_.createRemote(name), ExtensionPort::Callbacks{});
  }

  bool waitFor(const std::function<bool()>& done) {
    return loop_.runUntil(done, std::chrono::seconds(20));
  }
  // Until each lane that has something to read and is due has asked for a slot: the loop serves
  // its timers, which are set already, in the order of their times.
  void letLanesQueueUp() {
    loop_.runUntil([] { return false; }, 2 * ReadingPace::kQuiet);
  }
  // Runs the main loop until nothing more is sent for a while.
  void settle() {
    std::size_t seen = 0;
    do {
      seen = ports_.sent().size();
      loop_.runUntil([] { return false; }, std::chrono::milliseconds(700));
    } while (seen != ports_.sent().size());
  }

  Selectors selectors(const std::string& port = kPort) const {
    Selectors result;
    for (const auto& message : ports_.sent())
      if (message.port == port) result.push_back(selectorOf(message.content));
    return result;
  }
  std::size_t count(std::string_view selector, const std::string& port = kPort) const {
    return static_cast<std::size_t>(std::ranges::count(selectors(port), selector));
  }
  bool waitForCount(std::string_view selector, std::size_t wanted,
                    const std::string& port = kPort) {
    return waitFor([&] { return count(selector, port) >= wanted; });
  }
  // The repositories that were told of a status, in the order of telling.
  std::vector<FileIdentifier> toldStatuses() const {
    std::vector<FileIdentifier> result;
    for (const auto& message : ports_.sent())
      if (selectorOf(message.content) == "setStatusInfo:")
        result.push_back(FileIdentifier::fromObject(message.content[kMessageTargetKey]).value());
    return result;
  }
  std::uint16_t lastWord(const std::string& item) const {
    Object status;
    for (const auto& message : ports_.sent())
      if (selectorOf(message.content) == "setStatusInfo:")
        status = message.content[kMessageArgumentKey];
    return status["KPRepositoryStatus"][identifierOf(item).toObject()].at(0).unsignedShortValue();
  }
  std::size_t linesWith(std::string_view text) const {
    const auto lines = log_.lines();
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
  }

  // Its status fails while the sandbox holds a file "bad". Each one is a line in the file
  // "readings".
  void useGitWhoseStatusMayFail() {
    sandbox_.writeScript("bin/git",
                         "case \"$*\" in *' status '*)\n"
                         "  echo x >> \"$HOME/readings\"\n"
                         "  [ ! -e \"$HOME/bad\" ] || { echo 'fatal: no' >&2; exit 128; };;\n"
                         "esac\n"
                         "exec git \"$@\"\n");
    git_ = sandbox_.path("bin/git");
  }

  static std::string selectorOf(const Object& message) {
    return message[kMessageSelectorKey].stringValue();
  }

  GitSandbox sandbox_;
  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  FakeMessagePorts ports_{events_, loop_.queue()};
  LinuxFileSystem files_;
  FakeNotifier notifier_;
  std::string git_ = "git";
  std::chrono::milliseconds idleTime_ = std::chrono::minutes(10);
  std::chrono::milliseconds proofTime_ = std::chrono::minutes(1);
  std::unique_ptr<DirectoryWatcher> watcher_ = std::make_unique<DirectoryWatcher>(10000);
  DirectoryWatcher names_{10000};
  std::unique_ptr<MainLoop::Source> watching_ =
      loop_.watch(watcher_->descriptor(), G_IO_IN, [this](GIOCondition) { watcher_->dispatch(); });
  ThreadPool pool_{log_, 4};
  LinuxSerialQueues queues_{loop_, pool_};
  std::shared_ptr<ReadingSlots> slots_ = std::make_shared<ReadingSlots>(loop_, 4);
  std::shared_ptr<ExtensionPort> port_ = makePort(kPort);
};

// -- What is read first ---------------------------------------------------------------------------

// One reading at a time, and that one is held by the test.
class OneSlot : public RepositorySessionTest {
 protected:
  OneSlot() {
    sandbox_.init("other");
    sandbox_.write("other/f", "1\n");
    slots_ = std::make_shared<ReadingSlots>(loop_, 1, std::chrono::minutes(10));
    slots_->enter(ReadingSlots::Urgency::Status,
                  [this](ReadingSlots::Ticket ticket) { held_ = ticket; });
  }

  ReadingSlots::Ticket held_ = 0;
};

TEST_F(OneSlot, WhatIsOnScreenIsReadBeforeWhatWaitsLonger) {
  const auto unseen = makeSession("r");
  unseen->session->open(port_, sandbox_.path("r"), true);
  letLanesQueueUp();
  const auto shown = makeSession("other");
  shown->session->open(port_, sandbox_.path("other"), false);
  letLanesQueueUp();
  slots_->leave(held_);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 2));
  EXPECT_EQ(toldStatuses(),
            (std::vector<FileIdentifier>{identifierOf("other"), identifierOf("r")}));
}

TEST_F(OneSlot, WhatComesOnScreenWhileItWaitsMovesToTheFront) {
  const auto unseen = makeSession("r");
  const auto shownLater = makeSession("other");
  unseen->session->open(port_, sandbox_.path("r"), true);
  letLanesQueueUp();
  shownLater->session->open(port_, sandbox_.path("other"), true);
  letLanesQueueUp();
  shownLater->session->open(port_, sandbox_.path("other"), false);
  slots_->leave(held_);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 2));
  EXPECT_EQ(toldStatuses(),
            (std::vector<FileIdentifier>{identifierOf("other"), identifierOf("r")}));
}

// -- What an extension is told --------------------------------------------------------------------

TEST_F(RepositorySessionTest, ANewSessionReadsNothingUntilAnExtensionWantsIt) {
  const auto opened = makeSession("r");
  letLanesQueueUp();
  EXPECT_EQ(slots_->running(), 0U);
  EXPECT_FALSE(opened->session->isUsed());
  opened->session->open(port_, sandbox_.path("r"), true);
  EXPECT_TRUE(opened->session->isUsed());
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1));
}

TEST_F(RepositorySessionTest, TheOpeningComesWithTheFirstStatusAndReferencesWhereTheyAreWanted) {
  const auto opened = makeSession("r");
  const auto other = makePort(kOtherPort);
  opened->session->open(port_, sandbox_.path("r"), true);
  opened->session->open(other, sandbox_.path("r"), false);
  EXPECT_EQ(ports_.sent().size(), 0U) << "nothing is known yet";
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1, kOtherPort));
  settle();
  EXPECT_EQ(selectors(), (Selectors{"openRepositoryWithUrls:", "setStatusInfo:"}));
  EXPECT_EQ(selectors(kOtherPort).at(0), "openRepositoryWithUrls:");
  EXPECT_EQ(count("setReferences:", kOtherPort), 1U);
  opened->session->unshallow(port_);
  EXPECT_TRUE(waitForCount("setReferences:", 1)) << "the first extension wants them now, too";
}

TEST_F(RepositorySessionTest, AChangeIsTold) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  sandbox_.write("r/sub/f", "2\n");
  EXPECT_TRUE(waitFor([&] { return lastWord("r/sub/f") == KPStatusWorkdirModified; }));
}

TEST_F(RepositorySessionTest, AChangedFileIsAskedForAloneAndTheWholeOnceItIsQuiet) {
  sandbox_.writeScript("bin/git", "for all; do :; done\necho \"$* = $all\" >> '" +
                                      sandbox_.path("asked") + "'\nexec git \"$@\"\n");
  git_ = sandbox_.path("bin/git");
  proofTime_ = std::chrono::milliseconds(500);
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  const auto asked = [this](std::string_view end) {
    std::istringstream lines(sandbox_.read("asked"));
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);)
      count += line.find(" status ") != std::string::npos && line.ends_with(end) ? 1U : 0U;
    return count;
  };
  sandbox_.remove("asked");
  const std::size_t told = count("setStatusInfo:");
  sandbox_.write("r/sub/f", "2\n");
  ASSERT_TRUE(waitFor([&] { return lastWord("r/sub/f") == KPStatusWorkdirModified; }));
  EXPECT_GE(asked("= sub/f"), 1U);
  EXPECT_EQ(asked("=matching"), 0U);
  ASSERT_TRUE(waitFor([&] { return asked("=matching") > 0; }));
  settle();
  EXPECT_EQ(asked("=matching"), 1U) << "one proof is enough";
  EXPECT_EQ(count("setStatusInfo:"), told + 1) << "it was right";
  EXPECT_EQ(linesWith("defect"), 0U);
}

TEST_F(RepositorySessionTest, TheFoldersThatAnExtensionHasOpenedAreKnown) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r/sub"), true);
  EXPECT_TRUE(opened->session->isOpenFor(kPort, sandbox_.path("r/sub")));
  EXPECT_FALSE(opened->session->isOpenFor(kPort, sandbox_.path("r")));
  EXPECT_FALSE(opened->session->isOpenFor(kOtherPort, sandbox_.path("r/sub")));
}

TEST_F(RepositorySessionTest, AWorkingCopyThatWasTakenAwayIsGivenBackBeforeItsStatus) {
  const auto opened = makeSession("r", true);
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  EXPECT_EQ(
      selectors(),
      (Selectors{"openRepositoryWithUrls:", "setIdentifier:", "setGitUrl:", "setStatusInfo:"}));
}

TEST_F(RepositorySessionTest, AWithdrawalReachesOnlyWhoKnowsTheWorkingCopy) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  const auto other = makePort(kOtherPort);
  opened->session->open(other, sandbox_.path("r"), true);
  opened->session->distrust(kOtherPort);
  opened->session->withdraw();
  settle();
  EXPECT_EQ(selectors(), (Selectors{"setGitUrl:", "setStatusInfo:", "setIdentifier:"}));
  EXPECT_EQ(count("setIdentifier:", kOtherPort), 0U);
}

TEST_F(RepositorySessionTest, AnExtensionThatMayHaveMissedSomethingIsToldEverythingAgain) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), false);
  ASSERT_TRUE(waitForCount("setHasGitlfs:", 1));
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  const std::size_t all = ports_.sent().size();
  ports_.forgetSent();
  opened->session->tellAgain(kPort);
  opened->session->tellAgain(kOtherPort);
  settle();
  EXPECT_EQ(ports_.sent().size(), all);
  EXPECT_EQ(selectors().at(0), "openRepositoryWithUrls:");
  EXPECT_EQ(selectors(kOtherPort), Selectors()) << "it has not opened the working copy";
}

TEST_F(RepositorySessionTest, AnExtensionThatMayHaveForgottenIsToldWhenItOpensAgain) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  ports_.forgetSent();
  opened->session->distrust(kPort);
  settle();
  EXPECT_EQ(selectors(), Selectors());
  EXPECT_FALSE(opened->session->isOpenFor(kPort, sandbox_.path("r")));
  opened->session->open(port_, sandbox_.path("r"), true);
  settle();
  EXPECT_EQ(selectors(), (Selectors{"openRepositoryWithUrls:", "setStatusInfo:"}));
}

// -- Its end --------------------------------------------------------------------------------------

TEST_F(RepositorySessionTest, OneThatNobodyUsesClosesAfterAWhile) {
  idleTime_ = std::chrono::milliseconds(10);
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  opened->session->forget(kPort);
  EXPECT_FALSE(opened->session->isUsed());
  ASSERT_TRUE(waitFor([&] { return opened->isGone.has_value(); }));
  EXPECT_EQ(opened->isGone, false);
}

TEST_F(RepositorySessionTest, OneThatIsOpenedAgainInTimeStays) {
  idleTime_ = std::chrono::milliseconds(10);
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  opened->session->forget(kPort);
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(opened->isGone, std::nullopt);
}

TEST_F(RepositorySessionTest, AnExtensionThatIsGoneIsToldNothing) {
  const auto opened = makeSession("r");
  const auto other = makePort(kOtherPort);
  opened->session->open(port_, sandbox_.path("r"), true);
  opened->session->open(other, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1, kOtherPort));
  settle();
  opened->session->forget(kOtherPort);
  ports_.forgetSent();
  sandbox_.write("r/sub/f", "2\n");
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  EXPECT_EQ(selectors(kOtherPort), Selectors());
}

TEST_F(RepositorySessionTest, AWorkingCopyThatHasGoneIsTakenAndCloses) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  std::filesystem::remove_all(sandbox_.path("r"));
  ASSERT_TRUE(waitFor([&] { return opened->isGone.has_value(); }));
  EXPECT_EQ(opened->isGone, true);
  EXPECT_EQ(linesWith("r: the repository is not there any more, closed"), 1U);
  EXPECT_TRUE(waitForCount("setIdentifier:", 1));
}

// -- What fails -----------------------------------------------------------------------------------

TEST_F(RepositorySessionTest, AFailureIsLoggedOnceAndToldOfWhenItStays) {
  useGitWhoseStatusMayFail();
  sandbox_.write("bad", "");
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitFor([&] { return sandbox_.exists("readings") && !notifier_.shown.empty(); }));
  opened->session->readAgain();
  settle();
  EXPECT_EQ(linesWith("its status cannot be read: "), 1U);
  EXPECT_EQ(notifier_.shown.size(), 1U);
  EXPECT_EQ(notifier_.shown.at(0).title, "A git repository cannot be read");
  EXPECT_EQ(selectors(), Selectors()) << "no badge is better than a wrong one";
  sandbox_.remove("bad");
  opened->session->readAgain();
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1));
}

// What had changed when nothing could be read is not forgotten for what changes later.
TEST_F(RepositorySessionTest, AReadingThatFailedIsMadeUpForByTheNext) {
  useGitWhoseStatusMayFail();
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  settle();
  sandbox_.write("bad", "");
  sandbox_.write("r/sub/f", "2\n");
  ASSERT_TRUE(waitFor([&] { return !notifier_.shown.empty(); })) << "nothing is tried any more";
  sandbox_.remove("bad");
  sandbox_.write("r/other", "new\n");
  ASSERT_TRUE(waitFor([&] { return lastWord("r/other") == KPStatusWorkdirNew; }));
  EXPECT_EQ(lastWord("r/sub/f"), KPStatusWorkdirModified);
}

// -- More folders than can be watched -------------------------------------------------------------

class FewWatches : public RepositorySessionTest {
 protected:
  FewWatches() {
    for (int i = 0; i < 30; ++i) sandbox_.write("r/deep/" + std::to_string(i) + "/f", "1\n");
    sandbox_.commitAll("r", "many folders");
    watching_.reset();
    watcher_ = std::make_unique<DirectoryWatcher>(12);
    watching_ = loop_.watch(watcher_->descriptor(), G_IO_IN,
                            [this](GIOCondition) { watcher_->dispatch(); });
  }
};

TEST_F(FewWatches, OneThatWasAskedForStaysAndTheLogSaysSo) {
  const auto opened = makeSession("r");
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitFor([&] { return linesWith("more folders than can be watched") == 1; }));
  settle();
  EXPECT_EQ(opened->isGone, std::nullopt);
  EXPECT_EQ(count("setIdentifier:"), 0U);
}

TEST_F(FewWatches, OneThatNobodyAskedForIsWithdrawn) {
  const auto opened = makeSession("r");
  opened->session->setNeighbour(true);
  opened->session->open(port_, sandbox_.path("r"), true);
  ASSERT_TRUE(waitFor([&] { return opened->isGone.has_value(); }));
  EXPECT_EQ(opened->isGone, false);
  EXPECT_TRUE(waitForCount("setIdentifier:", 1));
  EXPECT_EQ(linesWith("more folders than can be watched"), 0U);
}

}  // namespace
}  // namespace kelpie::agent
