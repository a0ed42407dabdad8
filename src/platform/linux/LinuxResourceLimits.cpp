#include "platform/linux/LinuxResourceLimits.h"

#include <sys/resource.h>

#include <optional>

namespace kelpie {

std::optional<OpenFilesLimit> LinuxResourceLimits::openFilesLimit() const {
  rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return std::nullopt;
  return OpenFilesLimit{limit.rlim_cur, limit.rlim_max};
}

bool LinuxResourceLimits::setOpenFilesLimit(const OpenFilesLimit& limit) {
  const rlimit wanted = {limit.soft, limit.hard};
  return ::setrlimit(RLIMIT_NOFILE, &wanted) == 0;
}

}  // namespace kelpie
