#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <string_view>

#include "macos/mac/PortReceiver.h"
#include "macos/mac/SettingsWriter.h"

// Menus exist within an application only.
int main(int argumentCount, char** arguments) {
  @autoreleasepool {
    if (argumentCount == 3 && std::string_view(arguments[1]) == kelpie::kReceiverArgument)
      return kelpie::receiveFromPort(arguments[2]);
    if (argumentCount > 1 && std::string_view(arguments[1]) == kelpie::kWriterArgument)
      return kelpie::writeSetting({arguments + 1, arguments + argumentCount});
    testing::InitGoogleTest(&argumentCount, arguments);
    [NSApplication sharedApplication];
    return RUN_ALL_TESTS();
  }
}
