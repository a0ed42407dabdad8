#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>

#include "Configuration.h"
#include "e2e/RepositoryFixture.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "protocol/MessageKeys.h"
#include "support/linux/OwnProcess.h"

namespace kelpie {
namespace {

constexpr const char* kPing = "pingPortName:";

// No test: a copy of the main application, as far as its process goes.
TEST(ApplicationProcess, DISABLED_HasTheName) {
  if (!isStartedAsProcess()) GTEST_SKIP() << "runs as another process only";
  EventLog events;
  FakeLog log(events);
  MainLoop loop(log);
  const auto bus = SessionBus::connect().bus;
  ASSERT_TRUE(bus);
  const auto answer = [] { std::cout << "is there" << std::endl; };
  const BusName name(*bus, std::string(kApplicationIdentifier), {answer, answer});
  loop.run();
}

class Presence : public RepositoryFixture {
 protected:
  std::unique_ptr<ChildProcess> startCopy() const {
    auto copy = startDisabledTest("ApplicationProcess.DISABLED_HasTheName", session.environment());
    EXPECT_TRUE(copy->waitForOutput("is there")) << copy->errors();
    return copy;
  }
  // Ends a copy, and waits until the bus knows.
  void end(ChildProcess& copy, std::size_t copiesLeft) {
    copy.signal(SIGKILL);
    ASSERT_TRUE(copy.waitForEnd());
    const auto bus = SessionBus::connectTo(session.bus().address()).bus;
    LinuxRunningApplications running(bus.get(), session.log());
    EXPECT_TRUE(session.waitUntil(
        [&] { return running.withBundleIdentifier(kApplicationIdentifier).size() == copiesLeft; }));
  }
};

TEST_F(Presence, AnApplicationThatRunsAtTheStartIsFound) {
  TestApplication application(session);
  application.writeVersion(std::string(kVersion));
  const auto sync = session.startSync();
  EXPECT_EQ(application.count(kPing), 1U);
  const auto ping = application.waitFor(kPing);
  ASSERT_TRUE(ping);
  EXPECT_EQ(ping->message[kMessageArgumentKey].stringValue(), ProcessHost::portNameOf(*sync));
}

TEST_F(Presence, OneOfAnotherVersionIsNone) {
  TestApplication application(session);
  application.writeVersion("another");
  const auto sync = session.startSync();
  EXPECT_EQ(application.count(kPing), 0U);
  application.writeVersion(std::string(kVersion));
  application.announce();
  EXPECT_TRUE(application.waitFor(kPing));
}

TEST_F(Presence, TwoCopiesAreNone) {
  TestApplication application(session, TestApplication::Name::LeaveToAnotherProcess);
  application.writeVersion(std::string(kVersion));
  const auto first = startCopy();
  const auto second = startCopy();
  const auto sync = session.startSync();
  EXPECT_EQ(application.count(kPing), 0U);
  end(*second, 1);
  application.announce();
  EXPECT_TRUE(application.waitFor(kPing));
}

TEST_F(Presence, TheEndOfTheProcessClearsWhatItTold) {
  addRepository();
  chooseFolders({repository});
  TestApplication application(session, TestApplication::Name::LeaveToAnotherProcess);
  application.writeVersion(std::string(kVersion));
  const auto first = startCopy();
  const auto sync = session.startSync();
  TestHost files(session);
  files.hello();
  files.send({{"type", "beginObserving"}, {"url", fileURL(repository)}});
  ASSERT_TRUE(application.waitFor("openRepository:portName:"));
  answerWithRepository(application, ProcessHost::portNameOf(*sync));
  EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPWorkdirModifiedBadge"));
  EXPECT_TRUE(files.menu(0, {fileURL(file)}).is_object());

  end(*first, 0);
  EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPEmptyBadge"));
  EXPECT_TRUE(files.menu(0, {fileURL(file)}).is_null());

  // The next copy finds the folder still on screen.
  const auto second = startCopy();
  application.announce();
  const auto request = application.waitFor("openRepository:portName:");
  ASSERT_TRUE(request);
  EXPECT_TRUE(request->message[kMessageArgumentKey]["shallow"].boolValue());
  answerWithRepository(application, ProcessHost::portNameOf(*sync));
  EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPWorkdirModifiedBadge"));
  EXPECT_EQ(sync->errors(), "");
}

TEST_F(Presence, AKilledExtensionThatIsStartedAgainFindsItsWayBack) {
  addRepository();
  chooseFolders({repository});
  TestApplication application(session);
  application.writeVersion(std::string(kVersion));
  for (int life = 0; life < 3; ++life) {
    const auto sync = session.startSync();
    const auto ping = application.waitFor(kPing);
    ASSERT_TRUE(ping);
    EXPECT_EQ(ping->message[kMessageArgumentKey].stringValue(), ProcessHost::portNameOf(*sync));
    TestHost files(session);
    files.hello();
    files.send({{"type", "beginObserving"}, {"url", fileURL(repository)}});
    files.send({{"type", "requestBadges"}, {"urls", {fileURL(file)}}});
    const auto request = application.waitFor("openRepository:portName:");
    ASSERT_TRUE(request);
    EXPECT_FALSE(request->message[kMessageArgumentKey]["shallow"].boolValue());
    answerWithRepository(application, ProcessHost::portNameOf(*sync));
    EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPWorkdirModifiedBadge"));
    sync->signal(SIGKILL);
    EXPECT_EQ(sync->waitForEnd(), 128 + SIGKILL);
    EXPECT_TRUE(session.waitUntil([&] { return files.isClosed(); }));
  }
}

TEST_F(Presence, AThousandFoldersInViewAreAskedForAndServed) {
  addRepository();
  chooseFolders({session.home().path()});
  TestApplication application(session);
  application.writeVersion(std::string(kVersion));
  const auto sync = session.startSync();
  TestHost files(session);
  files.hello();
  constexpr int kFolders = 1000;
  // The application reads while the folders come; one that does not for long misses some.
  for (int i = 0; i < kFolders; ++i) {
    const std::string folder = session.home().addFolder("folder" + std::to_string(i));
    files.send({{"type", "beginObserving"}, {"url", fileURL(folder)}});
    if (i % 100 != 99) continue;
    for (int j = 0; j < 100; ++j)
      ASSERT_TRUE(application.waitFor("openRepository:portName:")) << "folder " << i - 99 + j;
  }
  files.send({{"type", "beginObserving"}, {"url", fileURL(repository)}});
  answerWithRepository(application, ProcessHost::portNameOf(*sync));
  EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPWorkdirModifiedBadge"));
  EXPECT_EQ(sync->errors(), "");
}

}  // namespace
}  // namespace kelpie
