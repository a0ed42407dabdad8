#include "linux/sync/HostedController.h"

#include <gtest/gtest.h>

#include "extension/RepositoryTable.h"
#include "settings/KPUserDefaults.h"
#include "status/ObservedPaths.h"
#include "support/FakePlatform.h"

namespace kelpie {
namespace {

class HostedControllerTest : public testing::Test {
 protected:
  HostedControllerTest() { fakes.runAll(); }

  std::size_t foldersShown() const { return controller->allObservedFiles()->sets().size(); }

  FakePlatform fakes;
  KPUserDefaults defaults{fakes.platform()};
  std::unique_ptr<KPKelpieSync> controller = KPKelpieSync::create(fakes.platform(), defaults);
  HostedController hosted{*controller};
};

TEST_F(HostedControllerTest, TheToolbarItemIsTheControllers) {
  EXPECT_EQ(hosted.toolbarItemName(), "KElpie");
  EXPECT_EQ(hosted.toolbarItemToolTip(), "");
  EXPECT_EQ(hosted.toolbarItemImage(), Image{"StatusItemIcon"});
}

TEST_F(HostedControllerTest, FoldersAndItemsReachTheController) {
  const URL folder = fakes.files->addFolder("/folder");
  const URL file = fakes.files->addFile("/folder/file");
  hosted.beginObservingDirectoryAtURL(folder);
  fakes.runAll();
  EXPECT_EQ(foldersShown(), 1U);
  hosted.endObservingDirectoryAtURL(folder);
  fakes.runAll();
  EXPECT_EQ(foldersShown(), 0U);
  hosted.requestBadgeIdentifierForURL(file);
  fakes.runAll();
  EXPECT_EQ(foldersShown(), 1U) << "the file is noted under its folder";
}

TEST_F(HostedControllerTest, MenusOfAllKindsAndActionsAreAskedOfTheController) {
  const auto toolbar = static_cast<std::uint64_t>(FIMenuKind::ToolbarItemMenu);
  for (const std::uint64_t kind : {std::uint64_t{0}, toolbar - 1, toolbar, toolbar + 1})
    EXPECT_EQ(hosted.menuForMenuKind(kind).has_value(), kind == toolbar)
        << "without the application only the toolbar has a menu";
  MenuItem item;
  EXPECT_FALSE(hosted.performAction(item));
  item.action = "noSuchAction:";
  EXPECT_FALSE(hosted.performAction(item));
  item.action = "commit:";
  EXPECT_TRUE(hosted.performAction(item));
}

}  // namespace
}  // namespace kelpie
