#include "cli/commands/FolderWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "cli/text/FilePath.h"

namespace kelpie::cli {

FolderWatch::FolderWatch(std::string folder)
    : folder_(std::move(folder)), events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (::inotify_add_watch(events_.get(), folder_.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR) < 0)
    events_.reset();
}

std::vector<std::string> FolderWatch::newNames() {
  thread_.check();
  std::vector<std::string> names;
  std::array<char, 65536> buffer{};
  const ssize_t size = ::read(events_.get(), buffer.data(), buffer.size());
  for (std::size_t at = 0; size > 0 && at < static_cast<std::size_t>(size);) {
    inotify_event event = {};
    std::memcpy(&event, buffer.data() + at, sizeof event);
    if ((event.mask & IN_Q_OVERFLOW) != 0)
      return FilePath::namesIn(folder_).value_or(std::vector<std::string>());
    // The name is padded with zero bytes.
    if (event.len > 0) names.emplace_back(buffer.data() + at + sizeof event);
    at += sizeof event + event.len;
  }
  return names;
}

}  // namespace kelpie::cli
