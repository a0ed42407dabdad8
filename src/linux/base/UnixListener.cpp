#include "linux/base/UnixListener.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "linux/base/SocketFiles.h"
#include "linux/base/SystemError.h"
#include "linux/base/UnixSocket.h"

namespace kelpie {
namespace {

// How long nobody is let in when the process has no file descriptor left: the waiting connection
// would otherwise keep the loop busy.
constexpr std::chrono::seconds kPause(1);

bool isPassingOfAccept(int error) {
  return error == EAGAIN || error == EINTR || error == ECONNABORTED || error == EPROTO;
}

}  // namespace

Result<std::unique_ptr<UnixListener>> UnixListener::create(MainLoop& loop, std::string path,
                                                           Handler handler) {
  UnixSocket::Result result{UniqueFd(), ECANCELED};
  SocketFiles::shared().add(path, [&] {
    result = UnixSocket::listen(path);
    return static_cast<bool>(result.socket);
  });
  if (!result.socket) return Problem{systemErrorText("cannot listen on " + path, result.error)};
  return std::unique_ptr<UnixListener>(
      new UnixListener(loop, std::move(path), std::move(result.socket), std::move(handler)));
}

UnixListener::UnixListener(MainLoop& loop, std::string path, UniqueFd socket, Handler handler)
    : loop_(loop),
      path_(std::move(path)),
      socket_(std::move(socket)),
      handler_(std::move(handler)) {
  listen();
}

// While it still listens, nobody takes the file for a stale one and puts another in its place.
UnixListener::~UnixListener() { SocketFiles::shared().remove(path_); }

void UnixListener::listen() {
  source_ = loop_.watch(socket_.get(), G_IO_IN, [this](GIOCondition) { accept(); });
}

void UnixListener::accept() {
  UniqueFd connection(::accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!connection) {
    if (isPassingOfAccept(errno)) return;
    loop_.log().write(systemErrorText("cannot take a connection on " + path_, errno));
    source_ = loop_.callAfter(kPause, [this] { listen(); });
    return;
  }
  const auto user = UnixSocket::peerUser(connection.get());
  if (user != ::geteuid()) {
    loop_.log().write("turned away another user's connection on " + path_);
    return;
  }
  handler_(std::move(connection));
}

}  // namespace kelpie
