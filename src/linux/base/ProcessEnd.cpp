#include "linux/base/ProcessEnd.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <thread>

#include "linux/base/SocketFiles.h"
#include "linux/base/SystemError.h"

namespace kelpie {
namespace {

// Without memory, of which there may be none left.
[[noreturn]] void sayAndAbort() {
  const char* reason = "an exception of an unknown kind";
  try {
    if (const auto exception = std::current_exception()) std::rethrow_exception(exception);
  } catch (const std::exception& error) {
    reason = error.what();
  } catch (...) {
  }
  std::array<char, 256> line{};
  const int length = std::snprintf(line.data(), line.size(), "the program ends: %s\n", reason);
  if (length > 0)
    static_cast<void>(!::write(STDERR_FILENO, line.data(),
                               std::min(static_cast<std::size_t>(length), line.size() - 1)));
  std::abort();
}

}  // namespace

std::optional<std::string> ProcessEnd::onSignals() {
  std::set_terminate(sayAndAbort);
  sigset_t signals = {};
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
  if (const int error = ::pthread_sigmask(SIG_BLOCK, &signals, nullptr); error != 0)
    return systemErrorText("cannot wait for signals", error);
  try {
    std::thread([signals] {
      int signal = 0;
      while (::sigwait(&signals, &signal) != 0) continue;
      now(EXIT_SUCCESS);
    }).detach();
  } catch (const std::system_error& error) {
    return std::string("cannot wait for signals: ") + error.what();
  }
  return std::nullopt;
}

void ProcessEnd::now(int status) {
  SocketFiles::shared().removeAllForGood();
  std::_Exit(status);
}

}  // namespace kelpie
