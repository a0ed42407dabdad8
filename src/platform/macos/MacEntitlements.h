#pragma once

#include <string_view>

#include "platform/Entitlements.h"

namespace kelpie {

// The entitlements of this process's own code signature. Any thread.
class MacEntitlements final : public Entitlements {
 public:
  EntitlementReading valueForEntitlement(std::string_view name) const override;
};

}  // namespace kelpie
