#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Dictionary.h"
#include "linux/base/UniqueFd.h"

namespace kelpie {

// The file of one suite of settings: a binary property list of a dictionary, which several
// processes read and replace. Keeps nothing in memory and logs nothing. Any thread; blocks as the
// file system does.
class DefaultsFile {
 public:
  // `$XDG_CONFIG_HOME/kelpie/<suite>.plist`; below `~/.config` when that variable is missing, empty
  // or not an absolute path. Absent when the suite's name cannot be that of a file.
  static std::optional<DefaultsFile> ofSuite(std::string_view suite);
  // Another file: an absolute path.
  explicit DefaultsFile(std::string path);

  const std::string& path() const { return path_; }
  // The folder that holds the file.
  std::string folder() const;
  // Makes the folder, 0700, with those above it, where they are missing. What went wrong, in one
  // line, or nothing.
  std::optional<std::string> makeFolder() const;

  // Which file stands at the path: a file that was put in its place has another stamp. Those of
  // missing files are equal.
  struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    time_t seconds = 0;
    long nanoseconds = 0;

    friend bool operator==(const Stamp&, const Stamp&) = default;
  };
  // One look at what stands there now.
  Stamp stamp() const;

  // What was read.
  struct Reading {
    Dictionary values;                   // keys are strings; empty when the file is missing
    std::optional<std::string> problem;  // in one line, when it could not be read; no values then
    // The problem is the system's, not the file's: the next attempt may succeed.
    bool isPassing = false;
    Stamp stamp;
    UniqueFd file;  // while it is held, no file that comes later can have the same stamp
  };
  // Reads the file: at most 16 MiB, and nothing but a file.
  Reading read() const;

  // Lets `change` alter the values and puts a file of the result in the place of this one, in one
  // step, while no other update() is under way; nothing is written when `change` returns false. The
  // folder is made when it is missing. What went wrong, in one line, or nothing; the former file
  // stays then. A file that cannot be read is not replaced.
  std::optional<std::string> update(const std::function<bool(Dictionary& values)>& change) const;

 private:
  std::optional<std::string> replace(const Dictionary& values) const;

  std::string path_;
};

}  // namespace kelpie
