#include "platform/macos/MacRunningApplications.h"

#import <AppKit/AppKit.h>

#include "platform/macos/Strings.h"

namespace kelpie {

std::vector<std::int32_t> MacRunningApplications::withBundleIdentifier(
    std::string_view identifier) {
  NSString* const name = nsString(identifier);
  std::vector<std::int32_t> pids;
  if (name == nil) return pids;
  for (NSRunningApplication* application in
       [NSRunningApplication runningApplicationsWithBundleIdentifier:name])
    pids.push_back([application processIdentifier]);
  return pids;
}

std::int32_t MacRunningApplications::currentProcessIdentifier() const {
  return [[NSProcessInfo processInfo] processIdentifier];
}

}  // namespace kelpie
