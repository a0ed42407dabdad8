#include "linux/base/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "linux/base/UniqueFd.h"

namespace kelpie {

std::optional<std::string> RegularFile::read(const std::string& path, std::size_t limit) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat state = {};
  if (!file || fstat(file.get(), &state) != 0 || !S_ISREG(state.st_mode)) return std::nullopt;
  std::string text;
  std::array<char, 16384> piece{};
  while (text.size() < limit) {
    const ssize_t got =
        ::read(file.get(), piece.data(), std::min(piece.size(), limit - text.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    text.append(piece.data(), static_cast<std::size_t>(got));
  }
  return text;
}

}  // namespace kelpie
