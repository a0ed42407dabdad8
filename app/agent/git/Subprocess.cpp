#include "agent/git/Subprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <variant>

#include "agent/git/ProgramStart.h"

namespace kelpie::agent {
namespace {

using Clock = std::chrono::steady_clock;

// Of what a program writes to standard error, this much is kept; the rest is read and dropped.
constexpr std::size_t kMaximumErrors = std::size_t{64} << 10U;
// How long a program may take to end after SIGTERM: git takes its lock files away first.
constexpr std::chrono::milliseconds kGrace{2000};
// How often, in milliseconds, it is looked whether a program has ended, if nothing tells.
constexpr unsigned kLook = 10;

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() { reset(); }

  int get() const { return fd_; }
  void reset() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

std::string systemError(const char* what) {
  return std::string(what) + ": " + std::generic_category().message(errno);
}

// `text` in memory, to be read from its beginning. A program that reads it at its own pace can
// neither block the agent nor raise SIGPIPE.
Descriptor memoryFile(std::string_view text) {
  Descriptor file(static_cast<int>(memfd_create("kelpie-input", MFD_CLOEXEC)));
  if (file.get() < 0) return file;
  while (!text.empty()) {
    const ssize_t written = write(file.get(), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return Descriptor();
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  lseek(file.get(), 0, SEEK_SET);
  return file;
}

// One run of one program.
class Run {
 public:
  Run(const ProgramCall& call, GCancellable* cancellable) : call_(call), cancellable_(cancellable) {
    if (call.timeLimit.count() > 0) deadline_ = Clock::now() + call.timeLimit;
  }

  ProgramResult toTheEnd() {
    if (!start()) return std::move(result_);
    while (!processEnded_ && pump()) {
    }
    if (!processEnded_) endProgram();
    drain();
    reap();
    return std::move(result_);
  }

 private:
  bool fail(std::string why) {
    result_.end = ProgramResult::End::NotStarted;
    result_.errors = std::move(why);
    return false;
  }

  bool start();
  bool spawn(int input, int output, int errors);
  bool pump();
  bool hasEnded() const;
  void readInto(Descriptor& from, std::string& into, std::size_t maximum, bool dropRest);
  void drain();
  void endProgram();
  void reap();
  int pollTimeout() const;

  const ProgramCall& call_;
  GCancellable* cancellable_;
  std::optional<Clock::time_point> deadline_;
  ProgramResult result_;
  pid_t pid_ = 0;
  Descriptor process_;  // a pidfd; none when there was no room for one
  Descriptor output_;
  Descriptor errors_;
  std::vector<char> buffer_ = std::vector<char>(65536);
  bool processEnded_ = false;
  bool stopped_ = false;  // result_.end says why
};

bool Run::start() {
  if (call_.arguments.empty()) return fail("no program");
  // It would be looked for in the folder where it runs.
  const std::string& program = call_.arguments.front();
  if (program.find('/') != std::string::npos && !program.starts_with('/'))
    return fail(program + " is neither an absolute path nor a name.");
  std::array<int, 2> output{-1, -1};
  std::array<int, 2> errors{-1, -1};
  if (pipe2(output.data(), O_CLOEXEC) != 0) return fail(systemError("pipe"));
  output_ = Descriptor(output[0]);
  Descriptor outputEnd(output[1]);
  if (!call_.outputMatters) outputEnd = Descriptor(open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (outputEnd.get() < 0) return fail(systemError("output"));
  if (pipe2(errors.data(), O_CLOEXEC) != 0) return fail(systemError("pipe"));
  errors_ = Descriptor(errors[0]);
  const Descriptor errorsEnd(errors[1]);
  // Only this end: the program must find its own end as programs expect it.
  fcntl(output_.get(), F_SETFL, O_NONBLOCK);
  fcntl(errors_.get(), F_SETFL, O_NONBLOCK);

  const Descriptor input = call_.input.empty() ? Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC))
                                               : memoryFile(call_.input);
  if (input.get() < 0) return fail(systemError("input"));
  return spawn(input.get(), outputEnd.get(), errorsEnd.get());
}

bool Run::spawn(int input, int output, int errors) {
  gchar** environment = g_get_environ();
  for (const std::string& name : call_.withoutVariables)
    environment = g_environ_unsetenv(environment, name.c_str());
  for (const auto& [name, value] : call_.environment)
    environment = g_environ_setenv(environment, name.c_str(), value.c_str(), TRUE);
  std::variant<pid_t, std::string> started =
      ProgramStart{call_.arguments, environment, call_.folder,       input,
                   output,          errors,      call_.endsWithAgent}
          .run();
  g_strfreev(environment);
  if (auto* why = std::get_if<std::string>(&started)) return fail(std::move(*why));
  pid_ = std::get<pid_t>(started);
  process_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  return true;
}

// Whether the program has ended; it is not waited for yet, and keeps its number.
bool Run::hasEnded() const {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == pid_;
}

int Run::pollTimeout() const {
  if (!deadline_) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline_ - Clock::now()).count();
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left, 0, 1 << 30));
}

// Waits for the next thing to happen and takes it in. False when the program is to be ended.
bool Run::pump() {
  GPollFD cancel{-1, 0, 0};
  const bool cancelled =
      cancellable_ != nullptr && g_cancellable_make_pollfd(cancellable_, &cancel) == TRUE;
  std::array<pollfd, 4> waits{pollfd{process_.get(), POLLIN, 0}, pollfd{output_.get(), POLLIN, 0},
                              pollfd{errors_.get(), POLLIN, 0},
                              pollfd{cancelled ? cancel.fd : -1, POLLIN, 0}};
  // Without a pidfd nothing tells of the end.
  const bool looks = process_.get() < 0;
  const auto limit = static_cast<unsigned>(pollTimeout());  // none is the largest
  const bool isLook = looks && limit > kLook;
  const int ready = poll(waits.data(), waits.size(), static_cast<int>(isLook ? kLook : limit));
  const int error = errno;
  if (cancelled) g_cancellable_release_fd(cancellable_);
  if (ready < 0) return error == EINTR;
  if (looks && hasEnded()) processEnded_ = true;
  if (ready == 0 && (isLook || processEnded_)) return true;
  if (ready == 0) {
    result_.end = ProgramResult::End::TimedOut;
    stopped_ = true;
    return false;
  }
  if (waits[3].revents != 0) {
    result_.end = ProgramResult::End::Cancelled;
    stopped_ = true;
    return false;
  }
  if (waits[1].revents != 0) readInto(output_, result_.output, call_.maximumOutput, false);
  if (waits[2].revents != 0) readInto(errors_, result_.errors, kMaximumErrors, true);
  // A program may leave others behind that keep its pipes open: its own end is what counts.
  if (waits[0].revents != 0) processEnded_ = true;
  return !stopped_;
}

// Reads what is there.
void Run::readInto(Descriptor& from, std::string& into, std::size_t maximum, bool dropRest) {
  for (;;) {
    const ssize_t got = read(from.get(), buffer_.data(), buffer_.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return;
    if (got == 0) return from.reset();
    const auto size = static_cast<std::size_t>(got);
    const std::size_t room = maximum - std::min(maximum, into.size());
    into.append(buffer_.data(), std::min(size, room));
    if (size <= room || dropRest) continue;
    result_.end = ProgramResult::End::TooMuchOutput;
    stopped_ = true;
    return;
  }
}

void Run::drain() {
  if (stopped_) return;
  if (output_.get() >= 0) readInto(output_, result_.output, call_.maximumOutput, false);
  if (errors_.get() >= 0) readInto(errors_, result_.errors, kMaximumErrors, true);
}

void Run::endProgram() {
  kill(-pid_, SIGTERM);
  pollfd wait{process_.get(), POLLIN, 0};
  poll(&wait, 1, static_cast<int>(kGrace.count()));
  // Also those that outlive the program, which has not been waited for yet and so keeps its number.
  kill(-pid_, SIGKILL);
}

void Run::reap() {
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  if (stopped_) return;
  if (WIFSIGNALED(status)) {
    result_.end = ProgramResult::End::Killed;
    result_.status = WTERMSIG(status);
    return;
  }
  result_.end = ProgramResult::End::Exited;
  result_.status = WEXITSTATUS(status);
}

std::string trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

}  // namespace

std::string ProgramResult::failure() const {
  switch (end) {
    case End::TimedOut:
      return "It took too long and was stopped.";
    case End::TooMuchOutput:
      return "It wrote more than can be taken in and was stopped.";
    case End::Cancelled:
      return "It was cancelled.";
    case End::NotStarted:
    case End::Exited:
    case End::Killed:
      break;
  }
  if (std::string words = trimmed(errors); !words.empty()) return words;
  if (std::string words = trimmed(output); !words.empty()) return words;
  if (end == End::Killed) return "It was ended by signal " + std::to_string(status) + ".";
  return "It failed with status " + std::to_string(status) + ".";
}

ProgramResult Subprocess::run(const ProgramCall& call, GCancellable* cancellable) {
  if (cancellable == nullptr) cancellable = g_cancellable_get_current();
  if (g_cancellable_is_cancelled(cancellable) == TRUE) {
    ProgramResult result;
    result.end = ProgramResult::End::Cancelled;
    return result;
  }
  return Run(call, cancellable).toTheEnd();
}

}  // namespace kelpie::agent
