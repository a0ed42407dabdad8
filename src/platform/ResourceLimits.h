#pragma once

#include <cstdint>
#include <optional>

namespace kelpie {

// A limit on open files: the soft one is in force, the hard one bounds it.
struct OpenFilesLimit {
  std::uint64_t soft = 0;
  std::uint64_t hard = 0;

  friend bool operator==(const OpenFilesLimit&, const OpenFilesLimit&) = default;
};

// Any thread.
class ResourceLimits {
 public:
  virtual ~ResourceLimits() = default;
  // Absent when the limit cannot be read.
  virtual std::optional<OpenFilesLimit> openFilesLimit() const = 0;
  // False when the system refuses, as it does for a soft limit above the hard one.
  virtual bool setOpenFilesLimit(const OpenFilesLimit& limit) = 0;
};

}  // namespace kelpie
