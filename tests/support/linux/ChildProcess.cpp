#include "support/linux/ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <utility>

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kCannotStart = 127;

std::vector<std::string> changedEnvironment(const ChildProcess::Environment& changes) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (!changes.contains(text.substr(0, text.find('=')))) variables.push_back(text);
  }
  for (const auto& [name, value] : changes)
    if (value) variables.push_back(name + "=" + *value);
  return variables;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// A pipe: the reading end, which does not wait, and the writing end.
std::array<UniqueFd, 2> makePipe() {
  std::array<int, 2> ends = {-1, -1};
  EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  EXPECT_EQ(::fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const Environment& environment) {
  std::vector<std::string> arguments = command;
  std::vector<std::string> variables = changedEnvironment(environment);
  const std::vector<char*> argumentPointers = pointersTo(arguments);
  const std::vector<char*> variablePointers = pointersTo(variables);
  auto [output, outputWriter] = makePipe();
  auto [errors, errorsWriter] = makePipe();
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int input = ::open("/dev/null", O_RDONLY);
    const bool ready = ::getppid() == parent && ::dup2(input, 0) == 0 &&
                       ::dup2(outputWriter.get(), 1) == 1 && ::dup2(errorsWriter.get(), 2) == 2;
    if (ready) ::execvpe(argumentPointers[0], argumentPointers.data(), variablePointers.data());
    ::_exit(kCannotStart);
  }
  EXPECT_GT(pid_, 0);
  process_.reset(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  EXPECT_TRUE(process_);
  output_.file = std::move(output);
  errors_.file = std::move(errors);
}

ChildProcess::~ChildProcess() {
  if (status_) return;
  ::kill(pid_, SIGKILL);
  waitForEnd();
}

void ChildProcess::signal(int number) const { EXPECT_EQ(::kill(pid_, number), 0); }

bool ChildProcess::Stream::read() {
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count == 0) return false;
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

bool ChildProcess::waitAndRead(Clock::time_point end) {
  std::array<pollfd, 3> ready = {pollfd{output_.file.get(), POLLIN, 0},
                                 pollfd{errors_.file.get(), POLLIN, 0},
                                 pollfd{process_.get(), POLLIN, 0}};
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
  const auto wait = std::max<std::chrono::milliseconds::rep>(left.count(), 0);
  if (::poll(ready.data(), ready.size(), static_cast<int>(wait)) <= 0) return false;
  const bool ended = ready[2].revents != 0;
  // After its end, too: what it wrote last.
  if (output_.file && !output_.read()) output_.file.reset();
  if (errors_.file && !errors_.read()) errors_.file.reset();
  if (!ended) return true;
  int status = 0;
  if (::waitpid(pid_, &status, 0) == pid_)
    status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  process_.reset();
  return true;
}

std::optional<int> ChildProcess::waitForEnd(std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  while (!status_ && waitAndRead(end)) continue;
  return status_;
}

const std::string& ChildProcess::output() {
  if (!status_) waitAndRead(Clock::now());
  return output_.text;
}

const std::string& ChildProcess::errors() {
  if (!status_) waitAndRead(Clock::now());
  return errors_.text;
}

bool ChildProcess::waitForOutput(std::string_view text) { return waitFor(output_, text); }

bool ChildProcess::waitForErrors(std::string_view text) { return waitFor(errors_, text); }

bool ChildProcess::waitFor(const Stream& stream, std::string_view text) {
  const auto end = Clock::now() + kLongEnough;
  while (stream.text.find(text) == std::string::npos)
    if (status_ || !waitAndRead(end)) return false;
  return true;
}

}  // namespace kelpie
