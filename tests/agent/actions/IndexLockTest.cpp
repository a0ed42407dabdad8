#include "agent/actions/IndexLock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "agent/actions/ActionFixture.h"
#include "agent/desktop/ActionControl.h"

namespace kelpie::agent {
namespace {

class IndexLockTest : public ActionFixture {
 protected:
  static constexpr const char* kLock = "r/.git/index.lock";

  GitCommand git() const { return {"git", sandbox.path("r")}; }
  // Another git has the lock, and has done its work when commands that need it too have failed so
  // many times.
  void lockFor(int times) const {
    sandbox.write(kLock, "");
    sandbox.writeScript("bin/git", R"(/usr/bin/git "$@"; status=$?
case "$status $*" in
  "0 "*) ;;
  *" checkout-index "*|*" reset "*|*" add "*)
    echo x >> "$KELPIE_SANDBOX/failed"
    [ $(wc -l < "$KELPIE_SANDBOX/failed") -lt )" +
                                       std::to_string(times) + R"( ] || rm -f "$KELPIE_SANDBOX/)" +
                                       kLock + R"(" ;;
esac
exit $status)");
  }
};

TEST_F(IndexLockTest, ADiscardWaitsForAnotherGit) {
  sandbox.write("r/a", "mine\n");
  lockFor(1);
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  EXPECT_TRUE(sandbox.exists("failed"));
}

TEST_F(IndexLockTest, AHardResetWaitsForAnotherGit) {
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "second");
  lockFor(1);
  answer({"2"});
  expectDone(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
}

TEST_F(IndexLockTest, StagingAndUnstagingWaitForAnotherGit) {
  sandbox.write("r/a", "mine\n");
  lockFor(1);
  expectDone(runFiles("stage:", {"a"}));
  EXPECT_EQ(status(), "M  a");
  lockFor(2);
  expectDone(runFiles("unstage:", {"a"}));
  EXPECT_EQ(status(), " M a");
  EXPECT_EQ(sandbox.read("failed"), "x\nx\n");
}

TEST_F(IndexLockTest, ALockThatStaysIsNamed) {
  sandbox.write(kLock, "");
  sandbox.write("r/a", "mine\n");
  const ActionOutcome outcome =
      IndexLock::change(git(), {"add", "a"}, {}, std::chrono::milliseconds(200));
  expectFailed(outcome, sandbox.path(kLock));
  expectFailed(outcome, "delete that file");
}

TEST_F(IndexLockTest, WaitingEndsWhenTheActionIsCalledOff) {
  lockFor(1'000'000);
  ActionControl control;
  const std::jthread user([&] {
    while (!sandbox.exists("failed")) std::this_thread::yield();
    control.cancel();
  });
  const ActionControl::Work work(control);
  EXPECT_FALSE(IndexLock::change(git(), {"add", "a"}, {}, std::chrono::hours(1)).isDone());
  EXPECT_TRUE(sandbox.exists(kLock));
}

TEST_F(IndexLockTest, OtherFailuresAreToldAtOnce) {
  expectFailed(IndexLock::change(git(), {"add", "missing"}, {}, std::chrono::hours(1)), "missing");
}

}  // namespace
}  // namespace kelpie::agent
