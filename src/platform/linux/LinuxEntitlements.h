#pragma once

#include <string_view>

#include "foundation/Dictionary.h"
#include "platform/Entitlements.h"

namespace kelpie {

// What a code signature says elsewhere stands here in a table of the program itself. Any thread.
class LinuxEntitlements final : public Entitlements {
 public:
  // The table of this build: the application group.
  LinuxEntitlements();
  // Another table, by entitlement name.
  explicit LinuxEntitlements(Dictionary table);

  EntitlementReading valueForEntitlement(std::string_view name) const override;

 private:
  Dictionary table_;
};

}  // namespace kelpie
