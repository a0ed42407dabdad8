#include "KelpieProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace kelpie::cli {
namespace {

constexpr int kPatience = 30'000;  // milliseconds

std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

// Takes in what is there; closes the pipe at its end.
void take(UniqueFd& pipe, std::string& text) {
  std::array<char, 65536> piece;
  const ssize_t size = ::read(pipe.get(), piece.data(), piece.size());
  if (size > 0) text.append(piece.data(), static_cast<std::size_t>(size));
  if (size == 0 || (size < 0 && errno != EINTR)) pipe.reset();
}

}  // namespace

KelpieProcess::KelpieProcess(const std::vector<std::string>& words, const Environment& environment,
                             const std::string& folder) {
  std::array<int, 2> out{};
  std::array<int, 2> err{};
  EXPECT_EQ(::pipe2(out.data(), O_CLOEXEC), 0);
  EXPECT_EQ(::pipe2(err.data(), O_CLOEXEC), 0);
  outPipe_.reset(out[0]);
  errPipe_.reset(err[0]);
  const UniqueFd outEnd(out[1]);
  const UniqueFd errEnd(err[1]);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, outEnd.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errEnd.get(), STDERR_FILENO);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  std::vector<std::string> arguments = words;
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + '=' + value);
  const int error = ::posix_spawnp(&process_, words.front().c_str(), &actions, nullptr,
                                   pointersTo(arguments).data(), pointersTo(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(error, 0) << words.front();
  if (error != 0) process_ = -1;
}

KelpieProcess::~KelpieProcess() {
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

bool KelpieProcess::waitUntil(const std::function<bool()>& condition) {
  while (!condition()) {
    if (!pump()) return condition();
  }
  return true;
}

void KelpieProcess::signal(int number) const {
  if (process_ > 0) ::kill(process_, number);
}

int KelpieProcess::wait() {
  while (pump()) {
  }
  // One that hangs instead of ending is the fault that the test is to show.
  if (outPipe_ || errPipe_) {
    ADD_FAILURE() << "the program does not end";
    signal(SIGKILL);
  }
  int status = 0;
  if (process_ <= 0 || ::waitpid(process_, &status, 0) != process_) return -1;
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool KelpieProcess::pump() {
  std::array<pollfd, 2> waits = {{{outPipe_.get(), POLLIN, 0}, {errPipe_.get(), POLLIN, 0}}};
  if (!outPipe_ && !errPipe_) return false;
  if (::poll(waits.data(), waits.size(), kPatience) <= 0) return false;
  if (waits[0].revents != 0) take(outPipe_, out_);
  if (waits[1].revents != 0) take(errPipe_, err_);
  return true;
}

}  // namespace kelpie::cli
