#include "agent/git/Subprocess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "linux/base/GLibPointers.h"
#include "support/TemporaryFolder.h"
#include "support/linux/FailingCalls.h"

namespace kelpie::agent {
namespace {

using End = ProgramResult::End;
using std::chrono::milliseconds;

ProgramCall shell(const std::string& script) {
  ProgramCall call;
  call.arguments = {"sh", "-c", script};
  return call;
}

TEST(Subprocess, GivesOutputErrorsAndStatus) {
  const ProgramResult result = Subprocess::run(shell("printf out; printf err >&2; exit 3"));
  EXPECT_EQ(result.end, End::Exited);
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.output, "out");
  EXPECT_EQ(result.errors, "err");
  EXPECT_FALSE(result.succeeded());
}

TEST(Subprocess, ArgumentsReachTheProgramAsTheyAre) {
  ProgramCall call;
  call.arguments = {"printf", "%s|%s", "$HOME `id`; 'x", "a\nb"};
  EXPECT_EQ(Subprocess::run(call).output, "$HOME `id`; 'x|a\nb");
}

TEST(Subprocess, InputLargerThanAPipeArrivesWhole) {
  ProgramCall call = shell("wc -c");
  call.input = std::string(1 << 20, 'x');
  EXPECT_EQ(Subprocess::run(call).failure(), "1048576");
}

TEST(Subprocess, InputThatNobodyReadsDoesNoHarm) {
  ProgramCall call = shell("exit 0");
  call.input = std::string(1 << 20, 'x');
  EXPECT_TRUE(Subprocess::run(call).succeeded());
}

TEST(Subprocess, LargeOutputArrivesWhole) {
  const ProgramResult result = Subprocess::run(shell("head -c 3000000 /dev/zero"));
  EXPECT_TRUE(result.succeeded());
  EXPECT_EQ(result.output.size(), 3000000U);
}

// -- Without a descriptor that tells of the end ---------------------------------------------------

TEST(Subprocess, TheEndIsSeenWithoutADescriptorForIt) {
  ProgramResult result;
  withFailingCalls({SYS_pidfd_open}, EMFILE, [&] {
    result = Subprocess::run(shell("printf out; sleep 0.1; printf more; exec >&- 2>&-; exit 3"));
  });
  EXPECT_EQ(result.end, End::Exited);
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.output, "outmore");
}

TEST(Subprocess, TheTimeLimitHoldsWithoutADescriptorForTheEnd) {
  ProgramResult result;
  ProgramCall call = shell("exec sleep 1000");
  call.timeLimit = milliseconds(200);
  withFailingCalls({SYS_pidfd_open}, EMFILE, [&] { result = Subprocess::run(call); });
  EXPECT_EQ(result.end, End::TimedOut);
}

TEST(Subprocess, TooMuchOutputEndsTheProgram) {
  ProgramCall call = shell("yes");
  call.maximumOutput = 100000;
  const ProgramResult result = Subprocess::run(call);
  EXPECT_EQ(result.end, End::TooMuchOutput);
  EXPECT_EQ(result.output.size(), 100000U);
}

TEST(Subprocess, TheTimeLimitEndsTheProgramAndWhatItStarted) {
  ProgramCall call = shell("sleep 1000 & echo $!; wait");
  call.timeLimit = milliseconds(200);
  const ProgramResult result = Subprocess::run(call);
  EXPECT_EQ(result.end, End::TimedOut);
  const int child = std::stoi(result.output);
  // The shell is waited for; the sleep belongs to nobody, and is gone or about to be reaped.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  const auto lives = [&] {
    std::error_code error;
    const auto link =
        std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe", error);
    return !error && link.string().find("sleep") != std::string::npos;
  };
  while (lives() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  EXPECT_FALSE(lives());
}

TEST(Subprocess, AProgramThatIgnoresTheFirstSignalIsKilled) {
  ProgramCall call = shell("trap '' TERM; while :; do sleep 1; done");
  call.timeLimit = milliseconds(50);
  EXPECT_EQ(Subprocess::run(call).end, End::TimedOut);
}

TEST(Subprocess, CancellingEndsTheProgram) {
  const GObjectPtr<GCancellable> cancellable(g_cancellable_new());
  std::thread other([&] { g_cancellable_cancel(cancellable.get()); });
  EXPECT_EQ(Subprocess::run(shell("sleep 1000"), cancellable.get()).end, End::Cancelled);
  other.join();
}

TEST(Subprocess, AChildLeftBehindWithTheOutputOpenIsNotWaitedFor) {
  const ProgramResult result = Subprocess::run(shell("sleep 30 & printf done"));
  EXPECT_TRUE(result.succeeded());
  EXPECT_EQ(result.output, "done");
}

TEST(Subprocess, AProgramThatIsNotThereSaysSo) {
  ProgramCall call;
  call.arguments = {"no-such-program-here"};
  const ProgramResult result = Subprocess::run(call);
  EXPECT_EQ(result.end, End::NotStarted);
  EXPECT_NE(result.failure().find("no-such-program-here"), std::string::npos);
}

TEST(Subprocess, AFolderThatIsNotThereSaysSo) {
  ProgramCall call = shell("true");
  call.folder = "/no/such/folder";
  const ProgramResult result = Subprocess::run(call);
  EXPECT_EQ(result.end, End::NotStarted);
  EXPECT_NE(result.failure().find("/no/such/folder"), std::string::npos);
}

TEST(Subprocess, AProgramKilledBySomebodyElseSaysSo) {
  const ProgramResult result = Subprocess::run(shell("kill -9 $$"));
  EXPECT_EQ(result.end, End::Killed);
  EXPECT_EQ(result.status, SIGKILL);
  EXPECT_EQ(result.failure(), "It was ended by signal 9.");
}

TEST(Subprocess, VariablesAreSetAndTakenAway) {
  setenv("KELPIE_TEST_TAKEN", "1", 1);
  ProgramCall call = shell("printf '%s-%s' \"$KELPIE_TEST_SET\" \"$KELPIE_TEST_TAKEN\"");
  call.environment = {{"KELPIE_TEST_SET", "yes"}};
  call.withoutVariables = {"KELPIE_TEST_TAKEN"};
  EXPECT_EQ(Subprocess::run(call).output, "yes-");
  unsetenv("KELPIE_TEST_TAKEN");
}

TEST(Subprocess, FindsNoOtherDescriptorsThanItsOwn) {
  const int open = ::open("/dev/null", O_RDONLY);  // and not closed when a program starts
  ASSERT_GE(open, 3);
  const ProgramResult result =
      Subprocess::run(shell("[ ! -e /proc/$$/fd/" + std::to_string(open) + " ]"));
  ::close(open);
  EXPECT_TRUE(result.succeeded());
}

TEST(Subprocess, StandardDescriptorsThatAreClosedHereAreTheProgramsAllTheSame) {
  const int kept = fcntl(0, F_DUPFD_CLOEXEC, 3);
  ::close(0);
  ProgramCall call = shell("cat; echo err >&2");
  call.input = "in";
  const ProgramResult result = Subprocess::run(call);
  ::dup2(kept, 0);
  ::close(kept);
  EXPECT_EQ(result.output, "in");
  EXPECT_EQ(result.errors, "err\n");
}

TEST(Subprocess, SignalsAreAsAProgramExpectsThem) {
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const auto ignored = std::signal(SIGPIPE, SIG_IGN);
  const ProgramResult result =
      Subprocess::run(shell("grep -E 'SigBlk|SigIgn' /proc/self/status | tr -d '\\n'"));
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, &before, &after);
  static_cast<void>(std::signal(SIGPIPE, ignored));
  EXPECT_TRUE(sigismember(&after, SIGTERM)) << "of this thread they are as they were";
  EXPECT_EQ(result.output.find("SigBlk:\t0000000000000000"), 0U) << result.output;
  const std::size_t at = result.output.find("SigIgn:\t");
  ASSERT_NE(at, std::string::npos);
  const auto ignoredNow = std::stoull(result.output.substr(at + 8), nullptr, 16);
  EXPECT_EQ(ignoredNow >> (SIGPIPE - 1) & 1U, 0U);
}

TEST(Subprocess, AProgramThatIsNoneSaysSo) {
  const TemporaryFolder folder;
  folder.addFile("program",
                 "\x7f"
                 "ELF");
  std::filesystem::permissions(folder / "program", std::filesystem::perms::owner_read);
  ProgramCall call;
  call.arguments = {folder / "program"};
  const ProgramResult result = Subprocess::run(call);
  EXPECT_EQ(result.end, End::NotStarted);
  EXPECT_EQ(result.failure(), (folder / "program") + " cannot be started: Permission denied");
}

TEST(Subprocess, ManyAtATimeDoNotKeepOneAnothersPipes) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([] {
      for (int j = 0; j < 20; ++j) EXPECT_EQ(Subprocess::run(shell("echo x")).output, "x\n");
    });
}

TEST(Subprocess, HasNoTerminalToAsk) {
  EXPECT_FALSE(Subprocess::run(shell(": < /dev/tty")).succeeded());
}

}  // namespace
}  // namespace kelpie::agent
