#include "cli/commands/Interrupt.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace kelpie::cli {

Interrupt::Interrupt() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, &former_);
  signals_.reset(::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
}

Interrupt::~Interrupt() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

bool Interrupt::hasCome() {
  thread_.check();
  signalfd_siginfo signal = {};
  if (::read(signals_.get(), &signal, sizeof signal) == sizeof signal) came_ = true;
  return came_;
}

}  // namespace kelpie::cli
