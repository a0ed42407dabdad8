#pragma once

#include <malloc.h>
#include <sys/types.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace kelpie {

// The most memory that this process holds from now on, as the kernel counts it. What malloc keeps
// of memory that was freed before is given back first, so that it hides nothing.
class PeakMemory {
 public:
  PeakMemory() {
    ::malloc_trim(0);
    // Sets the peak back to what is held now.
    std::ofstream("/proc/self/clear_refs") << "5";
    before_ = ofStatus("self", "VmRSS:");
  }

  // In bytes, what was held at the making of this included.
  static double total() { return ofStatus("self", "VmHWM:"); }
  // In bytes, on top of that.
  double growth() const { return total() - before_; }
  double growthInMegabytes() const { return growth() / 1e6; }

  // The most that another process has held so far, in bytes; 0 when it is gone.
  static double of(pid_t process) { return ofStatus(std::to_string(process), "VmHWM:"); }

 private:
  static double ofStatus(const std::string& process, std::string_view field) {
    std::ifstream status("/proc/" + process + "/status");
    for (std::string line; std::getline(status, line);)
      if (line.starts_with(field)) return std::atof(line.c_str() + field.size()) * 1024;
    return 0;
  }

  double before_ = 0;
};

}  // namespace kelpie
