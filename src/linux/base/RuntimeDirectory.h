#pragma once

#include <optional>
#include <string>
#include <utility>

#include "linux/base/UniqueFd.h"

namespace kelpie {

// The folder of this user's sockets and lock. Nobody else has access to it.
class RuntimeDirectory {
 public:
  // `$XDG_RUNTIME_DIR/kelpie`; `/tmp/kelpie-<uid>` when that variable is missing, empty or not an
  // absolute path.
  RuntimeDirectory();
  // At another path, for tests.
  explicit RuntimeDirectory(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  std::string portsFolder() const { return path_ + "/ports"; }
  std::string finderSocket() const { return path_ + "/finder"; }
  std::string lockFile() const { return path_ + "/lock"; }

  // Makes the folder and that of the ports, 0700, or checks existing ones: they must be directories
  // of this user without access for others. Returns what is wrong, in one line, or nothing.
  std::optional<std::string> prepare() const;

  // The result of taking the lock. The lock lasts as long as `file` is open.
  struct Lock {
    UniqueFd file;                       // empty when the lock was not taken
    bool isHeldByOther = false;          // another process has it
    std::optional<std::string> problem;  // in one line, when neither
  };
  // Takes the lock of the one process per user, without waiting.
  Lock lock() const;

 private:
  std::string path_;
};

}  // namespace kelpie
