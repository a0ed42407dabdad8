#pragma once

#include <glib.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "linux/base/EventLoop.h"
#include "platform/Log.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// The main thread's event loop: GLib's default context, on which the session bus delivers as
// well. Made on the main thread. All callbacks run there; a std::invalid_argument that one of them
// lets out is logged as one line, and the loop goes on. One at a time in a process.
class MainLoop final : public EventLoop {
 public:
  // A registered callback; letting it go ends it, also from inside the callback. Main thread.
  class Source final : public Timer {
   public:
    explicit Source(GSource* source) : source_(source) {}
    ~Source() override;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

   private:
    GSource* source_;  // owned
  };

  // `log` outlives this.
  explicit MainLoop(Log& log);
  ~MainLoop() override;
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  // Main thread. Runs until quit() is called, and returns the status given there.
  int run();
  // Main thread. Runs until `done` returns true or `limit` has passed; returns what `done` returned
  // last. For tests and for the end of a program: callbacks run inside it.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);
  // Any thread.
  void quit(int status);

  // Calls `onReady` each time that `fd` is ready for one of `conditions`, or has an error or a
  // hang-up. `fd` is borrowed for the life of the source. Main thread.
  std::unique_ptr<Source> watch(int fd, GIOCondition conditions,
                                std::function<void(GIOCondition)> onReady);

  std::shared_ptr<SerialQueue> queue() const override;
  std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                   std::function<void()> task) override;
  Clock::time_point now() const override { return Clock::now(); }
  Log& log() const override { return log_; }

 private:
  class Queue;

  Log& log_;
  std::shared_ptr<Queue> queue_;
  bool quit_ = false;  // both main thread
  int status_ = 0;
};

}  // namespace kelpie
