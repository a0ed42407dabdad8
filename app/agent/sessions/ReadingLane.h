#pragma once

#include <functional>
#include <memory>

#include "agent/sessions/ReadingPace.h"
#include "agent/sessions/ReadingSlots.h"
#include "foundation/ThreadBound.h"
#include "linux/base/EventLoop.h"

namespace kelpie::agent {

// One kind of reading of one repository: one at a time, at its pace, and only while it is wanted. A
// change that comes while a reading runs leads to one more. Main thread.
class ReadingLane {
 public:
  // `begin` starts a reading, whose end is to be told with finished(). `loop` outlives this.
  ReadingLane(EventLoop& loop, std::shared_ptr<ReadingSlots> slots, ReadingSlots::Urgency urgency,
              std::function<void()> begin);
  ~ReadingLane();
  ReadingLane(const ReadingLane&) = delete;
  ReadingLane& operator=(const ReadingLane&) = delete;

  // There is something to read.
  void changed();
  // The last reading is known to be out of date.
  bool isBehind() const { return pace_.hasChanged(); }
  // A reading runs.
  bool isReading() const { return stage_ == Stage::Reading; }
  // Applies to a reading that waits for its turn as well.
  void setUrgency(ReadingSlots::Urgency urgency);
  // Whether the reading is wanted. Changes in between are read once it is.
  void setWanted(bool wanted);
  // `foundSomething`: the reading differed from the one before.
  void finished(bool foundSomething);

 private:
  enum class Stage { Resting, Queued, Reading };

  void schedule();
  void due();
  void queueUp();
  void begin(ReadingSlots::Ticket ticket);

  EventLoop& loop_;
  std::shared_ptr<ReadingSlots> slots_;
  ReadingSlots::Urgency urgency_;
  std::function<void()> begin_;
  ReadingPace pace_;
  bool wanted_ = false;
  Stage stage_ = Stage::Resting;
  ReadingSlots::Ticket ticket_ = 0;
  std::unique_ptr<EventLoop::Timer> timer_;
  // Tasks that wait for a slot check it to see whether this still exists.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  ThreadBound thread_;
};

}  // namespace kelpie::agent
