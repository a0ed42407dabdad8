#pragma once

#include <optional>

#include "platform/ResourceLimits.h"

namespace kelpie {

// The limits of this process. Any thread.
class LinuxResourceLimits final : public ResourceLimits {
 public:
  std::optional<OpenFilesLimit> openFilesLimit() const override;
  bool setOpenFilesLimit(const OpenFilesLimit& limit) override;
};

}  // namespace kelpie
