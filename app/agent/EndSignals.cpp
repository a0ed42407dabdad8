#include "agent/EndSignals.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

#include "platform/linux/SocketFiles.h"

namespace kelpie::agent {
namespace {

constexpr std::array<int, 3> kSignals = {SIGTERM, SIGINT, SIGHUP};

sigset_t endSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kSignals) sigaddset(&signals, signal);
  return signals;
}

}  // namespace

EndSignals::EndSignals(std::function<void()> end, std::chrono::milliseconds grace) {
  const sigset_t signals = endSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread([signals, grace, end = std::move(end)] {
    int signal = 0;
    sigwait(&signals, &signal);
    end();
    std::this_thread::sleep_for(grace);
    SocketFiles::shared().removeAllForGood();
    _exit(0);
  }).detach();
}

}  // namespace kelpie::agent
