#include "agent/git/ProgramStart.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace kelpie::agent {
namespace {

// Starts a program that would run for long on a thread that ends then; its process id.
pid_t startOnAThread(bool endsWithThread) {
  pid_t process = -1;
  std::thread([&] {
    const std::vector<std::string> arguments = {"sleep", "30"};
    const std::string folder;
    ProgramStart start{arguments, environ, folder, 0, 1, 2, endsWithThread};
    const auto started = start.run();
    if (const auto* running = std::get_if<pid_t>(&started)) process = *running;
  }).join();
  return process;
}

// The signal that has ended the process.
int endOf(pid_t process) {
  int status = 0;
  EXPECT_EQ(waitpid(process, &status, 0), process);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST(ProgramStart, AProgramThatIsUselessWithoutItsThreadEndsWithIt) {
  const pid_t process = startOnAThread(true);
  ASSERT_GT(process, 0);
  EXPECT_EQ(endOf(process), SIGTERM);
}

TEST(ProgramStart, AnyOtherGoesOnAndLeadsASessionOfItsOwn) {
  const pid_t process = startOnAThread(false);
  ASSERT_GT(process, 0);
  EXPECT_EQ(getsid(process), process);
  kill(process, SIGUSR1);
  EXPECT_EQ(endOf(process), SIGUSR1);
}

}  // namespace
}  // namespace kelpie::agent
