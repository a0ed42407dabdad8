#include "linux/base/ProcessEnd.h"

#include <pthread.h>

#include <csignal>
#include <cstdlib>
#include <system_error>
#include <thread>

#include "linux/base/SocketFiles.h"
#include "linux/base/SystemError.h"

namespace kelpie {

std::optional<std::string> ProcessEnd::onSignals() {
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
