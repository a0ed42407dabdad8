#include "platform/linux/LinuxEntitlements.h"

#include <string_view>
#include <utility>

#include "Configuration.h"

namespace kelpie {

LinuxEntitlements::LinuxEntitlements()
    : LinuxEntitlements(
          {{"com.apple.security.application-groups", Objects{Object(kApplicationGroup)}}}) {}

LinuxEntitlements::LinuxEntitlements(Dictionary table) : table_(std::move(table)) {}

EntitlementReading LinuxEntitlements::valueForEntitlement(std::string_view name) const {
  return {true, table_[name]};
}

}  // namespace kelpie
