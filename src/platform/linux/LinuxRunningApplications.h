#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "linux/base/SessionBus.h"
#include "platform/Log.h"
#include "platform/RunningApplications.h"

namespace kelpie {

// The processes that own the bus name of an application, or wait for it in the name's queue. Their
// coming and going is not watched: an application announces itself with a notification.
class LinuxRunningApplications final : public RunningApplications {
 public:
  // Without a bus (null) nothing runs. Both are borrowed.
  LinuxRunningApplications(const SessionBus* bus, Log& log) : bus_(bus), log_(log) {}

  // Waits for the bus, half a second at most; what has not been answered by then is logged as one
  // line and does not count. Of a queue only the first 64 are looked at.
  std::vector<std::int32_t> withBundleIdentifier(std::string_view identifier) override;
  std::int32_t currentProcessIdentifier() const override;

 private:
  const SessionBus* bus_;
  Log& log_;
};

}  // namespace kelpie
