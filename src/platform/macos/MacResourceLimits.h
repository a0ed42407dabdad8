#pragma once

#include <optional>

#include "platform/ResourceLimits.h"

namespace kelpie {

// This process's own limits.
class MacResourceLimits final : public ResourceLimits {
 public:
  std::optional<OpenFilesLimit> openFilesLimit() const override;
  bool setOpenFilesLimit(const OpenFilesLimit& limit) override;
};

}  // namespace kelpie
