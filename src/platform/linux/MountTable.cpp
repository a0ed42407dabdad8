#include "platform/linux/MountTable.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

namespace kelpie {
namespace {

// The field of that number, from 0, of a line of fields between single blanks.
std::string_view fieldOf(std::string_view line, int number) {
  for (; number > 0; --number) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return {};
    line.remove_prefix(blank + 1);
  }
  return line.substr(0, line.find(' '));
}

bool isOctal(char c) { return '0' <= c && c <= '7'; }

// Blanks, tabs, line breaks and backslashes stand as "\040" and the like.
std::string unescaped(std::string_view field) {
  std::string text;
  for (std::size_t i = 0; i < field.size(); ++i) {
    const std::string_view digits = field.substr(i + 1, 3);
    if (field[i] != '\\' || digits.size() < 3 ||
        !std::all_of(digits.begin(), digits.end(), isOctal)) {
      text += field[i];
      continue;
    }
    text +=
        static_cast<char>(((digits[0] - '0') << 6) | ((digits[1] - '0') << 3) | (digits[2] - '0'));
    i += 3;
  }
  return text;
}

}  // namespace

MountTable& MountTable::shared() {
  static MountTable table;
  return table;
}

MountTable::MountTable() : file_(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

bool MountTable::hasMountBelow(std::string_view folder) {
  const MutexLock lock(mutex_);
  if (!known_ || hasChanged()) read();
  if (!known_) return true;
  const std::string prefix = folder == "/" ? "/" : std::string(folder) + "/";
  const auto first = std::upper_bound(mountPoints_.begin(), mountPoints_.end(), prefix);
  return first != mountPoints_.end() && first->starts_with(prefix);
}

std::vector<std::string> MountTable::mountPoints(std::string_view mountInfo) {
  std::vector<std::string> points;
  while (!mountInfo.empty()) {
    const std::size_t end = std::min(mountInfo.find('\n'), mountInfo.size());
    const std::string_view point = fieldOf(mountInfo.substr(0, end), 4);
    if (!point.empty()) points.push_back(unescaped(point));
    mountInfo.remove_prefix(std::min(end + 1, mountInfo.size()));
  }
  std::sort(points.begin(), points.end());
  return points;
}

bool MountTable::hasChanged() const {
  pollfd change = {file_.get(), POLLPRI, 0};
  return ::poll(&change, 1, 0) != 0;
}

void MountTable::read() {
  known_ = false;
  if (!file_ || ::lseek(file_.get(), 0, SEEK_SET) != 0) return;
  std::string text;
  std::array<char, 16384> part{};
  for (;;) {
    const ssize_t count = ::read(file_.get(), part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return;
    if (count == 0) break;
    text.append(part.data(), static_cast<std::size_t>(count));
  }
  mountPoints_ = mountPoints(text);
  known_ = true;
}

}  // namespace kelpie
