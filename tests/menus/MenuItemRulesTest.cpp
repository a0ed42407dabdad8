#include "menus/MenuItemRules.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MenuFixture.h"
#include "refs/KPRefsManager.h"
#include "settings/MenuItemCatalogue.h"
#include "support/MenuDescription.h"

namespace kelpie {
namespace {

class MenuItemRulesTest : public testing::Test {
 protected:
  std::optional<MenuItem> build(std::int64_t tag, const KPRepository* repository,
                                const Selection& selection = {}, bool canCreate = false) {
    return MenuItemRules(fixture_.host, fixture_.system.log)
        .menuItemForMenuItemTag(tag, repository, canCreate, selection);
  }

  MenuFixture fixture_;
};

TEST_F(MenuItemRulesTest, ApplicationItemsAreAlwaysThere) {
  struct Row {
    std::int64_t tag;
    std::string_view action;
    std::string_view want;
  };
  const Row rows[] = {
      {1000, "showAboutPanel:", "About Kelpie > showAboutPanel:"},
      {1001, "showPreferences:", "Preferences… > showPreferences:"},
      {1002, "showConfiguration:", "Git Configuration… > showConfiguration:"},
      {1005, "quit:", "Quit > quit:"},
  };
  SenderObjects& objects = fixture_.host.senderObjects();
  for (const Row& row : rows) {
    objects.set(row.action, "former");
    EXPECT_EQ(describe(build(row.tag, nullptr)), row.want);
    EXPECT_TRUE(objects.objectForAction(row.action).isNil()) << row.tag;
    EXPECT_EQ(describe(build(row.tag, fixture_.repository.get())), row.want);
  }
}

TEST_F(MenuItemRulesTest, ATagThatNamesNoItemIsLoggedTwice) {
  const std::vector<std::string> twice(2, "Should not get here!!!");
  for (const std::int64_t tag :
       {std::int64_t{0}, std::int64_t{12}, std::int64_t{32}, std::int64_t{33}, std::int64_t{45},
        std::int64_t{-15}, std::int64_t{999}, std::int64_t{1003}, std::int64_t{1004},
        std::int64_t{1006}, std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max()}) {
    fixture_.system.events.clear();
    EXPECT_FALSE(build(tag, fixture_.repository.get())) << tag;
    EXPECT_EQ(fixture_.system.log.lines(), twice) << tag;
  }
}

TEST_F(MenuItemRulesTest, AnItemThatDoesNotApplyIsNotLogged) {
  EXPECT_FALSE(build(3, nullptr));
  EXPECT_FALSE(build(-1, fixture_.repository.get()));
  EXPECT_TRUE(fixture_.system.log.lines().empty());
}

// Every item that the user can choose for his menus must come out somewhere.
TEST_F(MenuItemRulesTest, EveryTagOfTheCatalogueHasARule) {
  fixture_.addReferences(*fixture_.repository);
  fixture_.repository->setDirty(true);
  fixture_.repository->setRealDirty(true);
  const std::shared_ptr<KPRepository> flowing = fixture_.open("/flowing");
  flowing->refsManager()->setGitflowInfo(Dictionary{});
  const Object urls = MenuFixture::list({"/repo/a"});
  const Selection conflict{urls, urls, urls, urls, urls, urls, urls};
  const Selection change{urls, urls, urls, urls, urls, urls, {}};

  for (const MenuItemName& name : menuItemCatalogue()) {
    EXPECT_TRUE(build(name.tag, fixture_.repository.get(), conflict, true) ||
                build(name.tag, flowing.get(), change))
        << name.tag;
  }
  EXPECT_TRUE(fixture_.system.log.lines().empty());
}

TEST_F(MenuItemRulesTest, OfItemsWithOneActionTheLastCounts) {
  const KPRepository* repository = fixture_.repository.get();
  ASSERT_TRUE(build(-1, repository, {.unstaged = MenuFixture::list({"/repo/a"})}));
  ASSERT_TRUE(build(-1, repository, {.unstaged = MenuFixture::list({"/repo/b"})}));
  EXPECT_EQ(namesOf(fixture_.host.senderObjects().objectForAction("stage:")), "b");
}

}  // namespace
}  // namespace kelpie
