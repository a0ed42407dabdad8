#pragma once

#include <csignal>

#include "foundation/ThreadBound.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::cli {

// SIGINT and SIGTERM as something that can be waited for. While it lives they end nothing by
// themselves. Made before further threads are; main thread.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  // Becomes readable when a signal has come.
  int descriptor() const { return signals_.get(); }
  // Whether one has come. Does not wait.
  bool hasCome();

 private:
  sigset_t former_{};
  UniqueFd signals_;
  bool came_ = false;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
