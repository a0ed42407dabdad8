#pragma once

#import <AppKit/AppKit.h>

#include <cstdint>
#include <vector>

// Which applications are said to run.
namespace kelpie::system {

// The process ids of the applications with that bundle identifier; of no other there are any. Main
// thread.
void setRunningApplications(NSString* identifier, const std::vector<std::int32_t>& pids);

}  // namespace kelpie::system
