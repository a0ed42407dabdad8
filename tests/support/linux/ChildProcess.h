#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/base/UniqueFd.h"

namespace kelpie {

// A program that a test has started as a process of its own. What it writes is kept. It is killed
// and waited for when this goes, and when the test dies. One thread.
class ChildProcess {
 public:
  // How long a condition is waited for: no test takes that long unless it fails.
  static constexpr std::chrono::seconds kLongEnough{30};

  // Changes to the environment that the program inherits: an absent value removes a variable.
  using Environment = std::map<std::string, std::optional<std::string>>;

  // `command` is the program, as an absolute path or by its name, and its arguments. A program that
  // cannot be started ends with status 127.
  explicit ChildProcess(const std::vector<std::string>& command,
                        const Environment& environment = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  void signal(int number) const;

  // Waits for the end: the status, or 128 and the number of the signal that ended it; absent when
  // it still runs after `limit`. May be asked again.
  std::optional<int> waitForEnd(std::chrono::milliseconds limit = kLongEnough);
  bool isRunning() { return !waitForEnd(std::chrono::milliseconds(0)).has_value(); }

  // What it has written so far to standard output, and to standard error.
  const std::string& output();
  const std::string& errors();
  // Wait until that holds `text`. False when it does not within kLongEnough, or ends without it.
  bool waitForOutput(std::string_view text);
  bool waitForErrors(std::string_view text);

 private:
  // What the program writes to one of its files.
  struct Stream {
    UniqueFd file;
    std::string text;

    // Reads what is there. False at the end.
    bool read();
  };
  // Waits for output, or for the end of the process, and reads it. False when `end` has come.
  bool waitAndRead(std::chrono::steady_clock::time_point end);
  bool waitFor(const Stream& stream, std::string_view text);

  pid_t pid_ = -1;
  UniqueFd process_;  // readable when it has ended
  Stream output_;
  Stream errors_;
  std::optional<int> status_;
};

}  // namespace kelpie
