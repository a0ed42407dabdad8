#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "extension/ControllerFixture.h"
#include "extension/RepositoryTable.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

class WholeLife : public ControllerFixture {
 protected:
  // What has happened since the last call, but for what the fakes note of reading.
  Lines happened(std::initializer_list<std::string_view> prefixes) {
    Lines lines;
    for (const std::string& line : fakes.events.lines())
      if (std::ranges::any_of(prefixes, [&](std::string_view p) { return line.starts_with(p); }))
        lines.push_back(line);
    fakes.events.clear();
    return lines;
  }

  // The item of that title, with the items of the "More" submenus looked at as well.
  static std::optional<MenuItem> itemTitled(const Menu& menu, std::string_view title) {
    for (const MenuItem& item : menu.items) {
      if (item.title == title) return item;
      if (item.submenu != nullptr) {
        if (const auto found = itemTitled(*item.submenu, title)) return found;
      }
    }
    return std::nullopt;
  }
};

TEST_F(WholeLife, FromTheFirstFolderToTheReturnOfTheApplication) {
  KPKelpieSync::initialize(fakes.platform());
  EXPECT_EQ(fakes.finder.badgeImages().size(), 13U);

  // Folders are configured before the extension starts, and the application does not run.
  const URL root = fakes.files->addFolder("/work/repo");
  const URL git = fakes.files->addFolder("/work/repo/.git");
  const URL file = fakes.files->addFile("/work/repo/a.txt");
  chooseFolders({"/work"});
  start();
  EXPECT_EQ(happened({"finder.directories"}), Lines{"finder.directories /work"});

  // A folder is shown: nobody to ask, nothing to see.
  controller->requestBadgeIdentifierForURL(root);
  controller->beginObservingDirectoryAtURL(root);
  controller->requestBadgeIdentifierForURL(file);
  fakes.runAll();
  EXPECT_EQ(happened({"finder.badge", "send", "notifications.post"}), Lines{});
  EXPECT_EQ(controller->menuForMenuKind(FIMenuKind::ContextualMenuForItems), std::nullopt);

  // The application appears, is pinged and asked for the folder on screen.
  launchApplication();
  fakes.notifications.deliver("KPApplicationRunning", "");
  fakes.runAll();
  EXPECT_EQ(happened({"send", "monitors"}),
            (Lines{"send group.org.kelpie.App 1 pingPortName:",
                   "send group.org.kelpie.App 1 openRepository:portName:", "monitors.make 700",
                   "monitors.resume 700"}));
  const Object request = sent().back().content["KPMessageArgument"];
  EXPECT_EQ(request["url"].url().value().path(), "/work/repo");
  EXPECT_TRUE(request["shallow"].boolValue());

  // It answers with the repository, and then with its status.
  const FileIdentifier target = identifierOf(root);
  deliver("openRepositoryWithUrls:", Objects{root, git});
  ASSERT_NE(repositoryOf(root), nullptr);
  fakes.events.clear();
  deliver("setStatusInfo:",
          Dictionary{{"KPRepositoryState", 0},
                     {"KPRepositoryStatus",
                      Dictionary{{identifierOf(file), Objects{0x0100, file.path()}}}},
                     {"KPStatusDirtyURLs", Objects{file}},
                     {"KPStatusNewCount", 0}},
          target);
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo/a.txt"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo/.git"), "KPEmptyBadge");

  // A menu is asked for the file: the application hears of it first.
  fakes.events.clear();
  fakes.finder.select({file}, root);
  const std::optional<Menu> menu = controller->menuForMenuKind(FIMenuKind::ContextualMenuForItems);
  ASSERT_TRUE(menu);
  EXPECT_EQ(happened({"send"}), Lines{"send group.org.kelpie.App 1 unshallowRepository:"});
  const std::optional<MenuItem> stage = itemTitled(*menu, "Stage \"a.txt\"");
  ASSERT_TRUE(stage);
  EXPECT_TRUE(stage->enabled);

  // An item is chosen: it goes to the application with what it works on.
  EXPECT_TRUE(controller->performAction(*stage));
  EXPECT_EQ(happened({"send"}), Lines{"send group.org.kelpie.App 0 stage:"});
  const Object action = sent().back().content;
  EXPECT_EQ(FileIdentifier::fromObject(action["KPMessageTarget"]), target);
  EXPECT_EQ(action["KPMessagePortName"].stringValue(), kReceivingPort);
  const auto chosen = action["KPMessageSender"].as<MenuItem>();
  ASSERT_NE(chosen, nullptr);
  ASSERT_EQ(chosen->representedObject.size(), 1U);
  EXPECT_EQ(chosen->representedObject.at(0).url().value().path(), "/work/repo/a.txt");

  // The application has staged it.
  deliver("updateStagedStatus:", Objects{file}, target);
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo/a.txt"), "KPIndexModifiedBadge");

  // It exits: all badges go, and with them what came from it.
  fakes.finder.forgetBadges();
  fakes.events.clear();
  quitApplication();
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo"), "KPEmptyBadge");
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo/a.txt"), "KPEmptyBadge");
  EXPECT_EQ(controller->repositories().size(), 0U);
  EXPECT_EQ(happened({"ports.release", "monitors"}),
            (Lines{"ports.release group.org.kelpie.App", "monitors.cancel 700"}));
  const std::optional<Menu> toolbar = controller->menuForMenuKind(FIMenuKind::ToolbarItemMenu);
  ASSERT_TRUE(toolbar);
  EXPECT_EQ(toolbar->items.at(0).title, "Kelpie is not running");

  // It returns as another process: everything begins anew.
  fakes.messagePorts.forgetSent();
  launchApplication("1", 900);
  fakes.notifications.deliver("KPApplicationRunning", "");
  fakes.runAll();
  EXPECT_EQ(happened({"send", "ports", "monitors"}),
            (Lines{"ports.remote group.org.kelpie.App", "send group.org.kelpie.App 1 pingPortName:",
                   "send group.org.kelpie.App 1 openRepository:portName:", "monitors.make 900",
                   "monitors.resume 900"}));
  EXPECT_TRUE(sent().back().content["KPMessageArgument"]["shallow"].boolValue());
  EXPECT_TRUE(appMessages().empty()) << "nothing went wrong in all that time";
}

}  // namespace
}  // namespace kelpie
