#pragma once

#include <string_view>

#include "foundation/Object.h"

namespace kelpie {

// What the running process's code signature says of one entitlement.
struct EntitlementReading {
  bool taskMade = false;  // false: the signature could not be looked at
  Object value;           // nil when the signature has no such entitlement
};

// Any thread.
class Entitlements {
 public:
  virtual ~Entitlements() = default;
  virtual EntitlementReading valueForEntitlement(std::string_view name) const = 0;
};

}  // namespace kelpie
