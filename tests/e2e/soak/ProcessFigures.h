#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>

namespace kelpie {

// What a process holds just now, as the kernel says.
struct ProcessFigures {
  pid_t process = 0;
  std::size_t residentKiB = 0;
  std::size_t anonymousKiB = 0;  // of these: neither program text nor files
  std::size_t descriptors = 0;
  std::map<std::string, std::size_t> descriptorKinds;  // such as "socket"
  std::size_t watches = 0;                             // of inotify
  std::size_t threads = 0;
  std::size_t children = 0;     // processes that it has started, the dead ones among them
  std::size_t zombies = 0;      // of these: dead ones that it has not waited for
  double processorSeconds = 0;  // its own, and that of the children that it has waited for

  // All but `process` are 0 when there is no such process.
  static ProcessFigures of(pid_t process);

  // Whether it has as many descriptors, of the same kinds, and children.
  bool holdsAsManyAs(const ProcessFigures& other) const;
};

}  // namespace kelpie
