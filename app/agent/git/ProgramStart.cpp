#include "agent/git/ProgramStart.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

namespace kelpie::agent {
namespace {

// Where the descriptors begin that are not standard ones.
constexpr int kFirstOther = 3;

// What the child could not do.
struct StartFailure {
  enum class Of { Nothing, Descriptors, Folder, Program };
  Of of = Of::Nothing;
  int error = 0;
};

struct Child {
  char* const* arguments;
  char* const* environment;
  const char* folder;  // null for where this process runs
  std::array<int, kFirstOther> ends;
  int failures;  // the end of a pipe that is told a StartFailure
  bool endsWithThread;
};

[[noreturn]] void giveUp(int failures, StartFailure::Of of) {
  const StartFailure failure{of, errno};
  static_cast<void>(!write(failures, &failure, sizeof(failure)));
  _exit(127);
}

int outOfTheWay(int descriptor) {
  return descriptor >= kFirstOther ? descriptor : fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOther);
}

// Runs in the child, but in this process's memory: system calls only, and nothing is written to but
// what is on the stack.
[[noreturn]] void become(const Child& child) {
  // So that what the program starts ends with it, and so that nothing it starts finds a terminal to
  // ask on: ssh would wait there for an answer that nobody is asked for.
  setsid();
  if (child.endsWithThread) prctl(PR_SET_PDEATHSIG, SIGTERM);
  // None of them may lie where another one belongs.
  const int failures = outOfTheWay(child.failures);
  std::array<int, kFirstOther> ends{};
  for (std::size_t i = 0; i < ends.size(); ++i) ends[i] = outOfTheWay(child.ends[i]);
  for (std::size_t i = 0; i < ends.size(); ++i)
    if (dup2(ends[i], static_cast<int>(i)) < 0) giveUp(failures, StartFailure::Of::Descriptors);
  // All of this process's own say so themselves.
  close_range(kFirstOther, ~0U, CLOSE_RANGE_CLOEXEC);
  if (child.folder != nullptr && chdir(child.folder) != 0)
    giveUp(failures, StartFailure::Of::Folder);
  struct sigaction usual = {};
  usual.sa_handler = SIG_DFL;
  sigaction(SIGPIPE, &usual, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execvpe(child.arguments[0], child.arguments, child.environment);
  giveUp(failures, StartFailure::Of::Program);
}

// The child gets no copy of this process's memory, which takes longer to make (and its pages, to be
// copied as they are written to) than git needs for a small status. This thread waits until the
// child has become the program. In a function of its own: nothing here is changed by the child.
[[gnu::noinline]] pid_t makeChild(const Child& child) {
  // A handler of this process must not run in the child.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const pid_t process = vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
  if (process == 0) become(child);
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return process;
}

std::string words(int error) { return std::generic_category().message(error); }

}  // namespace

std::variant<pid_t, std::string> ProgramStart::run() const {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments)
    pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  std::array<int, 2> failures{-1, -1};
  if (pipe2(failures.data(), O_CLOEXEC) != 0) return "pipe: " + words(errno);
  const pid_t process = makeChild({pointers.data(),
                                   environment,
                                   folder.empty() ? nullptr : folder.c_str(),
                                   {input, output, errors},
                                   failures[1],
                                   endsWithThread});
  const int error = errno;
  close(failures[1]);
  StartFailure failure;
  // The end of the pipe: the child is the program now.
  while (process > 0 && read(failures[0], &failure, sizeof(failure)) < 0 && errno == EINTR) {
  }
  close(failures[0]);
  if (process < 0) return "A child process cannot be made: " + words(error);
  if (failure.of == StartFailure::Of::Nothing) return process;
  while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
  if (failure.of == StartFailure::Of::Folder)
    return "The folder " + folder + " cannot be entered: " + words(failure.error);
  return arguments.front() + " cannot be started: " + words(failure.error);
}

}  // namespace kelpie::agent
