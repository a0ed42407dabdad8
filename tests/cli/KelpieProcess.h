#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/UniqueFd.h"

namespace kelpie::cli {

// A program under test that runs as a process of its own. What it prints is kept.
class KelpieProcess {
 public:
  using Environment = std::map<std::string, std::string>;

  // Starts `words[0]` with exactly that environment, in `folder`. Fails the test when it cannot.
  KelpieProcess(const std::vector<std::string>& words, const Environment& environment,
                const std::string& folder);
  // Kills it if it still runs.
  ~KelpieProcess();
  KelpieProcess(const KelpieProcess&) = delete;
  KelpieProcess& operator=(const KelpieProcess&) = delete;

  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

  // Waits until what it has printed satisfies the condition. False when it ends before, or after a
  // generous time.
  bool waitUntil(const std::function<bool()>& condition);
  void signal(int number) const;
  // Waits for its end. The exit status; the signal that ended it, negated.
  int wait();

 private:
  // Takes in what is printed. False when there is nothing more to come, or nothing came for long.
  bool pump();

  pid_t process_ = -1;
  UniqueFd outPipe_;
  UniqueFd errPipe_;
  std::string out_;
  std::string err_;
};

}  // namespace kelpie::cli
