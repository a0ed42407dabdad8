#include "extension/ShownItems.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "support/FakePlatform.h"

namespace kelpie {
namespace {

FileIdentifier named(std::string_view name) { return FileIdentifier(bytesOf(name)); }

class ShownItemsTest : public testing::Test {
 protected:
  void show(std::string_view folder, std::initializer_list<std::string_view> paths) {
    for (const std::string_view path : paths)
      shown.findOrCreate(named(folder))->add(std::string(path));
  }

  FakePlatform fakes;
  ObservedPaths shown;
  ShownItems items = ShownItems(shown, *fakes.files);
};

TEST_F(ShownItemsTest, AreInOrderWhenEachSetHoldsItsOwnFoldersItems) {
  show("a", {"/r/a/1", "/r/a/2"});
  show("b", {"/r/b/1"});
  EXPECT_FALSE(items.isOutOfOrder("/r/a", named("a")));
  EXPECT_FALSE(items.isOutOfOrder("/r/b", named("b")));
  EXPECT_FALSE(items.isOutOfOrder("/r", named("r"))) << "of which nothing is shown";
}

TEST_F(ShownItemsTest, AreOutOfOrderWhenTheFoldersSetHoldsAnItemOfAnotherFolder) {
  show("a", {"/r/a/1", "/r/b/2"});
  EXPECT_TRUE(items.isOutOfOrder("/r/a", named("a")));
}

TEST_F(ShownItemsTest, AreOutOfOrderWhenAnotherSetHoldsTheFoldersItems) {
  show("a", {"/r/a/1"});
  show("former", {"/r/a/2"});
  EXPECT_TRUE(items.isOutOfOrder("/r/a", named("a")));
  EXPECT_TRUE(items.isOutOfOrder("/r/a", named("new")));
}

TEST_F(ShownItemsTest, OfTheRootOfTheFileSystemAreInOrder) {
  show("root", {"/1", "/2"});
  EXPECT_FALSE(items.isOutOfOrder("/", named("root")));
  EXPECT_TRUE(items.isOutOfOrder("/", named("other")));
}

}  // namespace
}  // namespace kelpie
