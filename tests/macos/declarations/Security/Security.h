#pragma once

// What src/platform/macos uses of Security. system/Entitlements.mm holds the implementation.

#include <CoreFoundation/CoreFoundation.h>

using CFErrorRef = struct HostError*;
using SecTaskRef = struct HostSecTask*;

SecTaskRef SecTaskCreateFromSelf(CFAllocatorRef allocator);
CFTypeRef SecTaskCopyValueForEntitlement(SecTaskRef task, CFStringRef entitlement,
                                         CFErrorRef* error);
