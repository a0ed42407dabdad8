#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "foundation/ThreadBound.h"
#include "linux/base/EventLoop.h"

namespace kelpie::agent {

// Sees to it that a status that was put together from parts is held to the whole, once it has come
// to rest: a difference is a defect, which is logged and counted. Nothing runs while nothing
// changes. Main thread.
class StatusProof {
 public:
  // How long nothing has been read for a status to be at rest.
  static constexpr std::chrono::milliseconds kRest = std::chrono::minutes(1);

  // `root` is for the log; `begin` starts a reading of the whole. `loop` outlives this.
  StatusProof(EventLoop& loop, std::string root, std::chrono::milliseconds rest,
              std::function<void()> begin);
  StatusProof(const StatusProof&) = delete;
  StatusProof& operator=(const StatusProof&) = delete;
  ~StatusProof() = default;

  // Something has changed: a difference that is found now is none.
  void changed();
  // Parts of the status were read. A proof is due when that was the last for a while.
  void partsRead();
  // The whole was read: there is nothing to prove.
  void wholeRead();
  // The same for the proof; `difference` says how the status was wrong, and is empty when it was
  // right.
  void proved(const std::string& difference);

  // How many proofs have found a difference.
  std::size_t defects() const { return defects_; }

 private:
  EventLoop& loop_;
  const std::string root_;
  const std::chrono::milliseconds rest_;
  const std::function<void()> begin_;
  std::unique_ptr<EventLoop::Timer> due_;
  std::unique_ptr<EventLoop::Timer> verdict_;
  std::size_t defects_ = 0;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
