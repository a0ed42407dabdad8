#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/Entitlements.h"
#include "support/EventLog.h"

namespace kelpie {

// Entitlements in a table that a test may change; from the start it has the application group
// "group.org.kelpie". Writes "entitlements.read NAME".
class FakeEntitlements final : public Entitlements {
 public:
  static constexpr std::string_view kApplicationGroups = "com.apple.security.application-groups";

  explicit FakeEntitlements(EventLog& events);

  bool taskMade = true;
  std::map<std::string, Object, std::less<>> values;

  EntitlementReading valueForEntitlement(std::string_view name) const override;

 private:
  EventLog& events_;
};

}  // namespace kelpie
