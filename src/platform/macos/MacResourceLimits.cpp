#include "platform/macos/MacResourceLimits.h"

#include <sys/resource.h>

#include <optional>

namespace kelpie {

std::optional<OpenFilesLimit> MacResourceLimits::openFilesLimit() const {
  struct rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return std::nullopt;
  return OpenFilesLimit{limit.rlim_cur, limit.rlim_max};
}

bool MacResourceLimits::setOpenFilesLimit(const OpenFilesLimit& limit) {
  struct rlimit wanted = {};
  wanted.rlim_cur = limit.soft;
  wanted.rlim_max = limit.hard;
  return ::setrlimit(RLIMIT_NOFILE, &wanted) == 0;
}

}  // namespace kelpie
