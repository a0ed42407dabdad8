#include "support/FakeEntitlements.h"

namespace kelpie {

FakeEntitlements::FakeEntitlements(EventLog& events)
    : values{{std::string(kApplicationGroups), Objects{"group.org.kelpie"}}}, events_(events) {}

EntitlementReading FakeEntitlements::valueForEntitlement(std::string_view name) const {
  events_.add("entitlements.read " + std::string(name));
  if (!taskMade) return {};
  const auto found = values.find(name);
  return {true, found == values.end() ? Object() : found->second};
}

}  // namespace kelpie
