#include "platform/linux/DefaultsWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "linux/base/SystemError.h"

namespace kelpie {
namespace {

constexpr std::uint32_t kFolderGone = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kWatched =
    IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE | IN_ONLYDIR | kFolderGone;

}  // namespace

DefaultsWatch::DefaultsWatch(MainLoop& loop, DefaultsFile file, std::function<void()> onChange)
    : loop_(loop),
      file_(std::move(file)),
      onChange_(std::move(onChange)),
      events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!events_) {
    loop_.log().write(systemErrorText("cannot watch the settings", errno));
    return;
  }
  source_ = loop_.watch(events_.get(), G_IO_IN, [this](GIOCondition) { readEvents(); });
  watchFolder();
}

void DefaultsWatch::watchFolder() {
  if (folder_ >= 0) ::inotify_rm_watch(events_.get(), folder_);
  folder_ = -1;
  if (const auto problem = file_.makeFolder()) {
    loop_.log().write(*problem);
    return;
  }
  folder_ = ::inotify_add_watch(events_.get(), file_.folder().c_str(), kWatched);
  if (folder_ < 0) loop_.log().write(systemErrorText("cannot watch " + file_.folder(), errno));
}

// Reads the events that are there, in one go; the loop calls again for later ones.
void DefaultsWatch::readEvents() {
  std::array<char, 8192> buffer{};
  const ssize_t count = ::read(events_.get(), buffer.data(), buffer.size());
  if (count <= 0) return;
  bool gone = false;
  for (std::size_t at = 0; at + sizeof(inotify_event) <= static_cast<std::size_t>(count);) {
    inotify_event event = {};
    std::memcpy(&event, buffer.data() + at, sizeof event);
    if (event.wd == folder_ && (event.mask & (kFolderGone | IN_IGNORED)) != 0) gone = true;
    at += sizeof event + event.len;
  }
  if (gone) watchFolder();
  onChange_();
}

}  // namespace kelpie
