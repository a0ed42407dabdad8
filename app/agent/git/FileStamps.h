#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

namespace kelpie::agent {

// The state of some files at one time, missing ones included, which tells later whether they are
// still the same. Of a folder only that it is the same one. A value.
class FileStamps {
 public:
  FileStamps() = default;
  // Looks at the files now; absolute paths.
  explicit FileStamps(std::vector<std::string> files);

  // Whether each file is as it was. False as well for as long as a file is so young that another
  // change might leave the same traces.
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
