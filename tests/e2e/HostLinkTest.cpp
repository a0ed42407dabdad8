#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "Configuration.h"
#include "e2e/ProcessHost.h"
#include "e2e/TestApplication.h"
#include "e2e/TestHost.h"
#include "foundation/Dictionary.h"
#include "foundation/MessageKeys.h"
#include "platform/linux/Bookmark.h"
#include "platform/linux/FileIdentity.h"
#include "settings/SettingsKeys.h"

namespace kelpie {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

Object identifierOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return fileIdentifier(status).toObject();
}

class HostLink : public testing::Test {
 protected:
  // Configures the folders that are observed.
  void chooseFolders(const std::vector<std::string>& paths) {
    Objects bookmarks;
    for (const std::string& path : paths) bookmarks.emplace_back(Bookmark::make(path).value());
    EXPECT_EQ(session.sharedDefaults().update([&](Dictionary& values) {
      values.set(Object(kFoldersPathsKey), bookmarks);
      return true;
    }),
              std::nullopt);
  }
  // A folder that counts as a repository, with one changed file in it.
  void addRepository() {
    repository = session.home().addFolder("repository");
    session.home().addFolder("repository/.git");
    file = session.home().addFile("repository/a file.txt", "x");
  }
  // What the main application answers when it is asked for the repository.
  void answerWithRepository(TestApplication& application, const std::string& portName) const {
    application.send(portName, "openRepositoryWithUrls:", Object(),
                     Objects{URL::fileURLWithPath(repository, true),
                             URL::fileURLWithPath(repository + "/.git", true)});
    application.send(
        portName, "setStatusInfo:", identifierOf(repository),
        Dictionary{{"KPRepositoryState", 0},
                   {"KPRepositoryStatus",
                    Dictionary{{identifierOf(file), Objects{0x0100, Object::path(file)}}}}});
  }

  ProcessHost session;
  std::string repository;
  std::string file;
};

TEST_F(HostLink, WelcomeNamesFoldersAndImagesThatExist) {
  addRepository();
  chooseFolders({repository});
  const auto sync = session.startSync();
  TestHost files(session);
  const json welcome = files.hello();
  EXPECT_EQ(welcome.at("version"), 1);
  EXPECT_EQ(welcome.at("directories"), json::array({fileURL(repository)}));
  EXPECT_EQ(welcome.at("toolbar").at("name"), "KElpie");
  EXPECT_EQ(welcome.at("toolbar").at("toolTip"), "");
  std::vector<std::string> images = {welcome.at("toolbar").at("image")};
  EXPECT_EQ(welcome.at("badges").size(), 13U);
  for (const json& badge : welcome.at("badges")) images.push_back(badge.at("image"));
  for (const char* name : {"ApplicationIcon", "BranchImage", "TagImage"})
    images.push_back(welcome.at("images").at(name));
  for (const std::string& image : images) {
    EXPECT_TRUE(image.starts_with('/')) << image;
    EXPECT_TRUE(fs::is_regular_file(image)) << image;
  }
}

TEST_F(HostLink, ChangedFoldersAreTold) {
  addRepository();
  const auto sync = session.startSync();
  TestHost files(session);
  EXPECT_EQ(files.hello().at("directories"), json::array());
  chooseFolders({repository});
  EXPECT_EQ(files.waitFor("directories").at("urls").size(), 1U);
  ASSERT_EQ(::unlink(session.sharedDefaults().path().c_str()), 0);
  EXPECT_EQ(files.waitFor("directories").at("urls"), json::array());
}

TEST_F(HostLink, FromTheAnnouncementToTheBadgeAndTheMenu) {
  addRepository();
  chooseFolders({repository});
  const auto sync = session.startSync();
  const std::string portName = ProcessHost::portNameOf(*sync);
  TestHost files(session);
  files.hello();
  files.send({{"type", "beginObserving"}, {"url", fileURL(repository)}});
  files.send({{"type", "requestBadges"}, {"urls", {fileURL(file)}}});

  // The folder on screen is asked for when the application comes.
  auto application = std::make_unique<TestApplication>(session);
  application->writeVersion(std::string(kVersion));
  application->announce();
  const auto ping = application->waitFor("pingPortName:");
  ASSERT_TRUE(ping);
  EXPECT_EQ(ping->id, kApplicationMessage);
  EXPECT_EQ(ping->message[kMessageArgumentKey].stringValue(), portName);
  const auto request = application->waitFor("openRepository:portName:");
  ASSERT_TRUE(request);
  EXPECT_EQ(request->message[kMessageArgumentKey]["url"].url().value().path(), repository);

  // The status follows the opening at once, and finds its repository.
  answerWithRepository(*application, portName);
  EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPWorkdirModifiedBadge"));
  const json menu = files.menu(0, {fileURL(file)});
  EXPECT_TRUE(menu.is_object()) << menu;
  EXPECT_NE(menu.dump().find("Stage"), std::string::npos) << menu;
  EXPECT_EQ(sync->errors(), "");
}

TEST_F(HostLink, AnApplicationOfAnotherVersionIsNone) {
  addRepository();
  chooseFolders({repository});
  const auto sync = session.startSync();
  TestApplication application(session);
  application.writeVersion("another");
  application.announce();
  application.writeVersion(std::string(kVersion));
  application.announce();
  ASSERT_TRUE(application.waitFor("pingPortName:"));
}

TEST_F(HostLink, AnApplicationThatRunsAtTheStartIsFound) {
  TestApplication application(session);
  application.writeVersion(std::string(kVersion));
  const auto sync = session.startSync();
  EXPECT_TRUE(application.waitFor("pingPortName:"));
}

TEST_F(HostLink, AFileManagerStartsTheExtensionByItsName) {
  session.home().addFile(".local/share/dbus-1/services/org.kelpie.Kelpie.Sync.service",
                         "[D-BUS Service]\nName=org.kelpie.Kelpie.Sync\nExec=" +
                             ProcessHost::program("kelpie-sync") + "\n");
  const auto bus = SessionBus::connectTo(session.bus().address()).bus;
  const GVariantPtr started(g_dbus_connection_call_sync(
      bus->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "StartServiceByName", g_variant_new("(su)", "org.kelpie.Kelpie.Sync", 0U),
      G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 30000, nullptr, nullptr));
  ASSERT_TRUE(started);
  TestHost files(session);
  EXPECT_EQ(files.hello().at("type"), "welcome") << "it listened before it had its name";
  session.bus().end();
  EXPECT_TRUE(session.waitUntil([&] { return files.isClosed(); })) << "and ends with the session";
}

}  // namespace
}  // namespace kelpie
