#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Configuration.h"
#include "e2e/RepositoryFixture.h"
#include "protocol/MessageKeys.h"

namespace kelpie {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

using HostLink = RepositoryFixture;

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

TEST_F(HostLink, ARepositoryThatIsReachedThroughALinkIsKnownByItsFolder) {
  addRepository();
  const std::string link = session.home().addLink("link", "repository");
  chooseFolders({repository});
  TestApplication application(session);
  application.writeVersion(std::string(kVersion));
  const auto sync = session.startSync();
  const std::string portName = ProcessHost::portNameOf(*sync);
  TestHost files(session);
  files.hello();
  files.send({{"type", "requestBadges"}, {"urls", {fileURL(file)}}});
  application.send(
      portName, "openRepositoryWithUrls:", Object(),
      Objects{URL::fileURLWithPath(link, true), URL::fileURLWithPath(link + "/.git", true)});
  application.send(portName, "setStatusInfo:", identifierOf(repository), status());
  EXPECT_TRUE(files.waitForBadge(fileURL(file), "KPWorkdirModifiedBadge"));
}

}  // namespace
}  // namespace kelpie
