#include "harness/QuietLoop.h"

#include <glib.h>
#include <sys/socket.h>

#include <array>

#include "harness/FuzzTarget.h"

namespace kelpie {

void QuietLog::write(std::string_view /*line*/) { ++lines_; }

QuietLoop& QuietLoop::shared() {
  static QuietLoop loop;
  return loop;
}

void QuietLoop::runDue() {
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

std::pair<UniqueFd, UniqueFd> QuietLoop::sockets() {
  std::array<int, 2> ends{};
  require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0);
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

}  // namespace kelpie
