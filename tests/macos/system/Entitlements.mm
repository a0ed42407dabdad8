#include "macos/system/Entitlements.h"

#include <Security/Security.h>

#include <utility>

namespace {

id entitlement = nil;
bool isSignatureReadable = true;

}  // namespace

SecTaskRef SecTaskCreateFromSelf(CFAllocatorRef /*allocator*/) {
  if (!isSignatureReadable) return nullptr;
  return static_cast<SecTaskRef>(static_cast<void*>([[NSObject alloc] init]));
}

CFTypeRef SecTaskCopyValueForEntitlement(SecTaskRef /*task*/, CFStringRef /*entitlement*/,
                                         CFErrorRef* /*error*/) {
  return [entitlement retain];
}

namespace kelpie::system {

void setEntitlement(id value) { [std::exchange(entitlement, [value retain]) release]; }

void setSignatureReadable(bool isReadable) { isSignatureReadable = isReadable; }

}  // namespace kelpie::system
