#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

namespace kelpie::agent {

// The state of some files at one time, also of files that do not exist, to tell later whether they
// have changed. A folder counts as unchanged while it is the same folder. A value.
class FileStamps {
 public:
  FileStamps() = default;
  // Looks at the files now; absolute paths.
  explicit FileStamps(std::vector<std::string> files);

  // Whether each file is as it was. False as well while a file is so young that another change
  // might leave the same times.
  bool stillHold() const;

 private:
  struct Stamp {
    struct stat state = {};
    bool isThere = false;
  };
  static Stamp stampOf(const std::string& file);
  static bool isSame(const Stamp& a, const Stamp& b);

  std::vector<std::string> files_;
  std::vector<Stamp> stamps_;
  bool isYoung_ = true;
};

}  // namespace kelpie::agent
