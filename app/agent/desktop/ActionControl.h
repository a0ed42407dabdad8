#pragma once

#include <gio/gio.h>

#include <atomic>

#include "linux/base/GLibPointers.h"

namespace kelpie::agent {

// An action under way as others see it: what it is doing, and the way to call it off. Any thread.
class ActionControl {
 public:
  ActionControl() : cancellable_(g_cancellable_new()) {}
  ActionControl(const ActionControl&) = delete;
  ActionControl& operator=(const ActionControl&) = delete;
  ~ActionControl() = default;

  // Calls the action off: a program that it runs is ended with all that it has started, and no
  // further one begins. What git has done by then stays done.
  void cancel() { g_cancellable_cancel(cancellable_.get()); }
  bool isCancelled() const { return g_cancellable_is_cancelled(cancellable_.get()) == TRUE; }

  // Whether its turn has come; stays true when it is over.
  bool hasBegun() const { return hasBegun_; }
  // Whether a dialog of it is open.
  bool isAsking() const { return isAsking_; }

  // The action is carried out on this thread while it lives. All programs that are run here
  // meanwhile can be called off.
  class Work {
   public:
    explicit Work(ActionControl& control);
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

   private:
    GCancellable* cancellable_;
  };

  // A dialog is open while it lives: one of the action that is carried out on this thread, if any.
  class Asking {
   public:
    Asking();
    ~Asking();
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;
  };

 private:
  GObjectPtr<GCancellable> cancellable_;
  std::atomic<bool> hasBegun_ = false;
  std::atomic<bool> isAsking_ = false;
};

}  // namespace kelpie::agent
