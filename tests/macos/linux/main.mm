#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include "macos/system/MenuItems.h"

// Menus exist within an application only.
int main(int argumentCount, char** arguments) {
  testing::InitGoogleTest(&argumentCount, arguments);
  @autoreleasepool {
    [NSApplication sharedApplication];
    kelpie::system::completeMenuItems();
    return RUN_ALL_TESTS();
  }
}
