#pragma once

#include <string_view>
#include <utility>

#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"
#include "platform/Log.h"

namespace kelpie {

// A log that keeps nothing but the number of its lines.
class QuietLog final : public Log {
 public:
  void write(std::string_view line) override;
  int lines() const { return lines_; }

 private:
  int lines_ = 0;
};

// The process's main loop for targets that read from sockets.
class QuietLoop {
 public:
  static QuietLoop& shared();

  MainLoop& loop() { return loop_; }
  QuietLog& log() { return log_; }
  // Runs what is due now.
  static void runDue();

  // Two connected sockets that block nobody.
  static std::pair<UniqueFd, UniqueFd> sockets();

 private:
  QuietLog log_;
  MainLoop loop_{log_};
};

}  // namespace kelpie
