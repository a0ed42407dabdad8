#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>

#include "Configuration.h"
#include "e2e/ProcessHost.h"
#include "e2e/TestHost.h"
#include "e2e/TestRepository.h"
#include "linux/base/SessionBus.h"
#include "platform/linux/LinuxNotificationCenter.h"
#include "protocol/MessageKeys.h"

namespace kelpie {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// The extension and the agent together, with real repositories: what a file manager shows.
class AgentAndSync : public testing::Test {
 protected:
  AgentAndSync() { TestRepository::prepare(session); }

  void start() {
    agent = session.start("kelpie-agent");
    ASSERT_TRUE(session.waitForSocket(session.runtime().portsFolder() + "/" +
                                      std::string(kApplicationGroup) + ".App"));
    sync = session.startSync();
    connect();
  }
  void connect() {
    files = std::make_unique<TestHost>(session);
    files->hello();
  }
  void show(const std::string& folder) {
    files->send({{"type", "beginObserving"}, {"url", fileURL(folder)}});
  }
  void request(const std::string& item) {
    files->send({{"type", "requestBadges"}, {"urls", json::array({fileURL(item)})}});
  }
  // Waits until the item has the badge, which it may have been given already.
  void expectBadge(const std::string& item, const std::string& badge) {
    request(item);
    EXPECT_TRUE(files->waitForBadge(fileURL(item), badge));
  }
  // Whether the menu for the items has an entry of that title, in whatever submenu.
  static bool hasTitle(const json& menu, const std::string& title) {
    if (!menu.is_object()) return false;
    for (const json& item : menu.at("items"))
      if (item.at("title") == title || hasTitle(item.at("submenu"), title)) return true;
    return false;
  }

  ProcessHost session;
  std::unique_ptr<ChildProcess> agent;
  std::unique_ptr<ChildProcess> sync;
  std::unique_ptr<TestHost> files;
};

TEST_F(AgentAndSync, BadgesShowWhatGitSaysAndFollowIt) {
  const TestRepository repository(session, "r");
  repository.write("new", "1\n");
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  expectBadge(repository / "new", "KPWorkdirNewBadge");
  repository.write("tracked", "2\n");
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPWorkdirModifiedBadge"));
  repository.git({"add", "tracked"});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPIndexModifiedBadge"));
  repository.git({"commit", "-q", "-m", "two"});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPCurrentBadge"));
}

TEST_F(AgentAndSync, MenusOfferTheReferencesOnceTheyWereAskedFor) {
  const TestRepository repository(session, "r");
  repository.git({"branch", "another"});
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  EXPECT_TRUE(session.waitUntil(
      [&] { return hasTitle(files->menu(0, {fileURL(repository / "tracked")}), "another"); }));
}

TEST_F(AgentAndSync, AnAgentThatIsKilledTakesTheBadgesWithItAndBringsThemBack) {
  const TestRepository repository(session, "r");
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  agent->signal(SIGKILL);
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPEmptyBadge"));
  agent = session.start("kelpie-agent");
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPCurrentBadge"));
}

// The end of the agent that was and the announcement of the one that is reach the extension at the
// same time. More than once, since they may have been handled in the right order by chance.
TEST_F(AgentAndSync, AnAgentThatIsReplacedWhileTheExtensionStandsStillIsFound) {
  const TestRepository repository(session, "r");
  const auto bus = SessionBus::connectTo(session.bus().address()).bus;
  LinuxNotificationCenter notifications(bus.get(), session.log());
  bool announced = false;
  const auto observation = notifications.addObserver(kApplicationRunningNotification,
                                                     [&](const std::string&) { announced = true; });
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  for (int i = 0; i < 8; ++i) {
    sync->signal(SIGSTOP);
    agent->signal(SIGKILL);
    ASSERT_TRUE(agent->waitForEnd());
    repository.write("tracked", i % 2 == 0 ? "2\n" : "1\n");
    announced = false;
    agent = session.start("kelpie-agent");
    ASSERT_TRUE(session.waitUntil([&] { return announced; }));
    sync->signal(SIGCONT);
    ASSERT_TRUE(files->waitForBadge(fileURL(repository / "tracked"),
                                    i % 2 == 0 ? "KPWorkdirModifiedBadge" : "KPCurrentBadge"))
        << "restart " << i;
  }
}

TEST_F(AgentAndSync, AnExtensionThatIsKilledAndStartedAgainIsServed) {
  const TestRepository repository(session, "r");
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  for (int i = 0; i < 3; ++i) {
    sync->signal(SIGKILL);
    sync->waitForEnd();
    repository.write("tracked", i % 2 == 0 ? "2\n" : "1\n");
    sync = session.startSync();
    connect();
    show(repository.path());
    expectBadge(repository / "tracked", i % 2 == 0 ? "KPWorkdirModifiedBadge" : "KPCurrentBadge");
  }
  EXPECT_TRUE(agent->isRunning());
}

TEST_F(AgentAndSync, AnExtensionThatStandsStillCatchesUp) {
  const TestRepository repository(session, "r");
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  sync->signal(SIGSTOP);
  repository.write("tracked", "2\n");
  for (int i = 0; i < 20; ++i) repository.write("f" + std::to_string(i), "1\n");
  sync->signal(SIGCONT);
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPWorkdirModifiedBadge"));
}

TEST_F(AgentAndSync, AnAgentThatStandsStillCatchesUp) {
  const TestRepository repository(session, "r");
  start();
  show(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  agent->signal(SIGSTOP);
  repository.write("tracked", "2\n");
  expectBadge(repository / "tracked", "KPCurrentBadge");  // the extension answers all the same
  agent->signal(SIGCONT);
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPWorkdirModifiedBadge"));
}

TEST_F(AgentAndSync, ARepositoryThatIsDeletedOrBrokenCostsNobodyElseAnything) {
  const TestRepository deleted(session, "deleted");
  const TestRepository broken(session, "broken");
  const TestRepository sound(session, "sound");
  start();
  for (const TestRepository* each : {&deleted, &broken, &sound}) {
    show(each->path());
    expectBadge(*each / "tracked", "KPCurrentBadge");
  }
  fs::remove_all(deleted.path());
  broken.write(".git/index", "no index");
  EXPECT_TRUE(agent->waitForErrors(deleted.path() + ": the repository is not there any more"));
  EXPECT_TRUE(agent->waitForErrors(broken.path() + ": its status cannot be read: "));
  sound.write("tracked", "2\n");
  EXPECT_TRUE(files->waitForBadge(fileURL(sound / "tracked"), "KPWorkdirModifiedBadge"));
}

}  // namespace
}  // namespace kelpie
