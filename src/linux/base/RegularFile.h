#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace kelpie {

// Reads small files whose place others may have filled with something else.
class RegularFile {
 public:
  RegularFile() = delete;

  // The first `limit` bytes of the file, which may be a link to one. Absent when there is none,
  // when it is anything but a file, such as a pipe that would be waited for, or when it cannot be
  // read. Any thread.
  static std::optional<std::string> read(const std::string& path, std::size_t limit);
};

}  // namespace kelpie
