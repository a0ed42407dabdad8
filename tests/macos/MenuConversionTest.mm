#include "platform/macos/MenuConversion.h"

#include <gtest/gtest.h>

#include <memory>

#include "macos/TestPlatform.h"
#include "platform/macos/Strings.h"

namespace kelpie {
namespace {

class MenuConversion : public testing::Test {
 protected:
  static Menu menu() {
    MenuItem branch("main", "checkout:");
    branch.tag = 17;
    branch.state = 1;
    branch.image = Image{"BranchImage"};
    auto branches = std::make_shared<Menu>("");
    branches->items = {branch};

    MenuItem header("Git Repository");
    header.enabled = false;
    header.image = Image{"ApplicationIcon"};
    MenuItem checkout("Checkout", "checkout:");
    checkout.submenu = branches;
    MenuItem stage("Stage \"\xC3\xA4.txt\"", "stage:");
    stage.representedObject = Objects{Object("a")};
    Menu all("title");
    all.items = {header, checkout, stage};
    return all;
  }
};

TEST_F(MenuConversion, KeepsTitlesActionsTagsAndStates) {
  @autoreleasepool {
    NSMenu* const converted = nsMenu(menu());
    EXPECT_EQ(stdString([converted title]), "title");
    ASSERT_EQ([converted numberOfItems], 3);
    NSMenuItem* const stage = [converted itemAtIndex:2];
    EXPECT_EQ(stdString([stage title]), "Stage \"\xC3\xA4.txt\"");
    EXPECT_STREQ(sel_getName([stage action]), "stage:");
    EXPECT_EQ([stage target], nil);
    EXPECT_TRUE([[stage representedObject] isEqual:[NSArray arrayWithObject:@"a"]]);
    EXPECT_EQ([stage image], nil);
    NSMenuItem* const branch = [[[converted itemAtIndex:1] submenu] itemAtIndex:0];
    EXPECT_EQ([branch tag], 17);
    EXPECT_EQ([branch state], 1);
  }
}

// Nobody answers for the items of another process's menus.
TEST_F(MenuConversion, ItemsAreEnabledAsTheySay) {
  @autoreleasepool {
    NSMenu* const converted = nsMenu(menu());
    [converted update];
    EXPECT_EQ([converted autoenablesItems], NO);
    EXPECT_EQ([[converted itemAtIndex:0] isEnabled], NO);
    EXPECT_TRUE([[converted itemAtIndex:0] action] == nullptr);
    EXPECT_EQ([[converted itemAtIndex:1] isEnabled], YES);
  }
}

TEST_F(MenuConversion, ImagesAreThoseOfTheBundle) {
  @autoreleasepool {
    NSMenu* const converted = nsMenu(menu());
    NSImage* const icon = [[converted itemAtIndex:0] image];
    EXPECT_EQ(stdString([icon name]), "ApplicationIcon");
    EXPECT_EQ([icon isTemplate], NO);
    NSImage* const branch = [[[[converted itemAtIndex:1] submenu] itemAtIndex:0] image];
    EXPECT_EQ(stdString([branch name]), "BranchImage");
    EXPECT_EQ([branch isTemplate], YES);
    EXPECT_EQ([nsImage({"TagImage"}) isTemplate], YES);
  }
}

TEST_F(MenuConversion, SymbolsAreTheSystems) {
  @autoreleasepool {
    NSImage* const tag = nsImage({"tag", Image::Source::SystemSymbol});
    EXPECT_TRUE(isSymbol(tag, @"tag"));
  }
}

TEST_F(MenuConversion, IconsAreThoseThatTheSystemShowsForAFile) {
  @autoreleasepool {
    EXPECT_NE(nsImage({"file:///tmp"}), nil);
    EXPECT_EQ(nsImage({"file:///no/such/file"}), nil);
  }
}

TEST_F(MenuConversion, WhatThereIsNotIsNil) {
  @autoreleasepool {
    EXPECT_EQ(nsImage({"NoSuchImage"}), nil);
    EXPECT_EQ(nsImage({"\xFF"}), nil);
    EXPECT_EQ(nsImage({"no such symbol", Image::Source::SystemSymbol}), nil);
    EXPECT_EQ(stdString([nsMenuItem(MenuItem("\xFF"), MenuImages::Shown) title]), "");
  }
}

TEST_F(MenuConversion, AnItemThatIsSentBearsNoImage) {
  @autoreleasepool {
    EXPECT_EQ([nsMenuItem(menu().items[0], MenuImages::LeftOut) image], nil);
  }
}

}  // namespace
}  // namespace kelpie
