#include "foundation/ThreadBound.h"

#include <gtest/gtest.h>

#include <thread>

namespace kelpie {
namespace {

// A class that belongs to one thread.
class Bound {
 public:
  void enter() const { thread_.check(); }

 private:
  ThreadBound thread_;
};

void enterElsewhere(const Bound& bound) {
  std::thread([&bound] { bound.enter(); }).join();
}

TEST(ThreadBound, TheThreadThatMadeItMayEnter) {
  const Bound bound;
  bound.enter();
  const Bound copy = bound;
  copy.enter();
}

TEST(ThreadBoundDeathTest, AnotherThreadEndsTheProcessWhereThreadsAreChecked) {
  const Bound bound;
  if (kThreadChecks)
    EXPECT_DEATH(enterElsewhere(bound), "enter\\(\\) was called on another thread");
  else
    enterElsewhere(bound);
}

}  // namespace
}  // namespace kelpie
