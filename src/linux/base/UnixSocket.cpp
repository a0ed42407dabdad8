#include "linux/base/UnixSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kelpie {
namespace {

std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path ||
      path.find('\0') != std::string::npos)
    return std::nullopt;
  std::copy(path.begin(), path.end(), std::begin(address.sun_path));
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

UniqueFd newSocket() {
  return UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

std::optional<ucred> peerOf(int connection) {
  ucred peer = {};
  socklen_t size = sizeof peer;
  if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer;
}

}  // namespace

UnixSocket::Result UnixSocket::connect(const std::string& path) {
  const auto address = addressOf(path);
  if (!address) return {UniqueFd(), ENAMETOOLONG};
  UniqueFd socket = newSocket();
  if (!socket || ::connect(socket.get(), generic(*address), sizeof *address) != 0)
    return {UniqueFd(), errno};
  return {std::move(socket), 0};
}

bool UnixSocket::removeStale(const std::string& path) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) return errno == ENOENT;
  if (!S_ISSOCK(status.st_mode) || connect(path).error != ECONNREFUSED) return false;
  return ::unlink(path.c_str()) == 0;
}

UnixSocket::Result UnixSocket::listen(const std::string& path) {
  const auto address = addressOf(path);
  if (!address) return {UniqueFd(), ENAMETOOLONG};
  if (!removeStale(path)) return {UniqueFd(), EADDRINUSE};
  UniqueFd socket = newSocket();
  // The mode is set before anybody can connect, since nobody can before listen().
  if (!socket || ::bind(socket.get(), generic(*address), sizeof *address) != 0)
    return {UniqueFd(), errno};
  if (::chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
    const int error = errno;
    ::unlink(path.c_str());
    return {UniqueFd(), error};
  }
  return {std::move(socket), 0};
}

std::optional<uid_t> UnixSocket::peerUser(int connection) {
  const auto peer = peerOf(connection);
  return peer ? std::optional(peer->uid) : std::nullopt;
}

std::optional<pid_t> UnixSocket::peerProcess(int connection) {
  const auto peer = peerOf(connection);
  return peer ? std::optional(peer->pid) : std::nullopt;
}

}  // namespace kelpie
