#include "platform/macos/MacEntitlements.h"

#import <Security/Security.h>

#include "platform/macos/Objects.h"
#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"

namespace kelpie {

EntitlementReading MacEntitlements::valueForEntitlement(std::string_view name) const {
  @autoreleasepool {
    const auto task = CFRetained<SecTaskRef>::adopt(SecTaskCreateFromSelf(nullptr));
    if (!task) return {};
    const auto value = CFRetained<CFTypeRef>::adopt(
        SecTaskCopyValueForEntitlement(task.get(), cfOf<CFStringRef>(nsString(name)), nullptr));
    return {true, objectOf(objectOfCF(value.get()))};
  }
}

}  // namespace kelpie
