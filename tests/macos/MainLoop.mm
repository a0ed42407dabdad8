#include "macos/MainLoop.h"

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/macos/MacSerialQueues.h"

namespace kelpie {
namespace {

constexpr std::chrono::seconds kLimit{30};

}  // namespace

bool runUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    @autoreleasepool {
      [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                               beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
    }
  }
  return true;
}

void drainMainQueue() {
  bool hasRun = false;
  MacSerialQueues().mainQueue()->post([&hasRun] { hasRun = true; });
  EXPECT_TRUE(runUntil([&] { return hasRun; }));
}

}  // namespace kelpie
