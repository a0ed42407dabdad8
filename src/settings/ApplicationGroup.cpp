#include "settings/ApplicationGroup.h"

namespace kelpie {

ApplicationGroup ApplicationGroup::read(const Entitlements& entitlements) {
  const EntitlementReading reading =
      entitlements.valueForEntitlement("com.apple.security.application-groups");
  if (!reading.taskMade) return {{}, Failure::NoTask};
  if (reading.value.isNil()) return {{}, Failure::NoEntitlement};
  if (!reading.value.isArray() || reading.value.size() == 0) return {{}, Failure::NoElement};
  const Object first = reading.value.at(0);
  if (!first.isString()) return {{}, Failure::NoString};
  return {first.stringValue(), Failure::None};
}

}  // namespace kelpie
