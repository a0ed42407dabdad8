#include "platform/FinderSync.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "settings/KPUserDefaults.h"
#include "status/ObservedPaths.h"
#include "support/FakePlatform.h"

namespace kelpie {
namespace {

// The controller as a file manager drives it.
class FinderSyncTest : public testing::Test {
 protected:
  FinderSyncTest() { fakes.runAll(); }

  std::size_t foldersShown() const { return controller->allObservedFiles()->sets().size(); }

  FakePlatform fakes;
  KPUserDefaults defaults{fakes.platform()};
  std::unique_ptr<KPKelpieSync> controller = KPKelpieSync::create(fakes.platform(), defaults);
  FinderSync& extension = *controller;
};

TEST_F(FinderSyncTest, TheToolbarItemIsTheControllers) {
  const FinderSync::ToolbarItem item = extension.toolbarItem();
  EXPECT_EQ(item.name, "KElpie");
  EXPECT_EQ(item.toolTip, "");
  EXPECT_EQ(item.image, Image{"StatusItemIcon"});
}

TEST_F(FinderSyncTest, FoldersAndItemsReachTheController) {
  const URL folder = fakes.files->addFolder("/folder");
  const URL file = fakes.files->addFile("/folder/file");
  extension.beginObservingDirectoryAtURL(folder);
  fakes.runAll();
  EXPECT_EQ(foldersShown(), 1U);
  extension.endObservingDirectoryAtURL(folder);
  fakes.runAll();
  EXPECT_EQ(foldersShown(), 0U);
  extension.requestBadgeIdentifierForURL(file);
  fakes.runAll();
  EXPECT_EQ(foldersShown(), 1U) << "the file is noted under its folder";
}

TEST_F(FinderSyncTest, MenusOfAllKindsAndActionsAreAskedOfTheController) {
  constexpr auto kToolbar = static_cast<std::uint64_t>(FIMenuKind::ToolbarItemMenu);
  for (const std::uint64_t kind : {std::uint64_t{0}, kToolbar - 1, kToolbar, kToolbar + 1})
    EXPECT_EQ(extension.menuForMenuKind(static_cast<FIMenuKind>(kind)).has_value(),
              kind == kToolbar)
        << "without the application only the toolbar has a menu";
  MenuItem item;
  EXPECT_FALSE(extension.performAction(item));
  item.action = "noSuchAction:";
  EXPECT_FALSE(extension.performAction(item));
  item.action = "commit:";
  EXPECT_TRUE(extension.performAction(item));
}

}  // namespace
}  // namespace kelpie
