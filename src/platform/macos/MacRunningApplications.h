#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/RunningApplications.h"

namespace kelpie {

// The applications of this user's session.
class MacRunningApplications final : public RunningApplications {
 public:
  std::vector<std::int32_t> withBundleIdentifier(std::string_view identifier) override;
  std::int32_t currentProcessIdentifier() const override;
};

}  // namespace kelpie
