#include "linux/hostlink/HostLinkServer.h"

#include <gio/gunixsocketaddress.h>
#include <sys/un.h>
#include <unistd.h>

#include <utility>

namespace kelpie {
namespace {

// When no further file can be opened, connecting hosts wait this long before the next try, so that
// the process does not spin.
constexpr guint kRetrySeconds = 1;

}  // namespace

std::unique_ptr<HostLinkServer> HostLinkServer::listen(const std::string& path, HostLinkHub& hub,
                                                       Log& log, std::string& problem) {
  // GLib would cut a longer path off and listen somewhere else.
  if (path.size() >= sizeof(sockaddr_un::sun_path)) {
    problem = "the host link cannot be opened: the path is too long for a socket: " + path;
    return nullptr;
  }
  GError* failure = nullptr;
  GObjectPtr<GSocket> socket(g_socket_new(G_SOCKET_FAMILY_UNIX, G_SOCKET_TYPE_STREAM,
                                          G_SOCKET_PROTOCOL_DEFAULT, &failure));
  ::unlink(path.c_str());
  if (socket) {
    g_socket_set_blocking(socket.get(), FALSE);
    const GObjectPtr<GSocketAddress> address(g_unix_socket_address_new(path.c_str()));
    if (g_socket_bind(socket.get(), address.get(), FALSE, &failure) &&
        g_socket_listen(socket.get(), &failure)) {
      return std::unique_ptr<HostLinkServer>(
          new HostLinkServer(std::move(socket), path, hub, log));  // NOLINT(*-owning-memory)
    }
  }
  const GErrorPtr error(failure);
  problem = "the host link cannot be opened: " + std::string(failure->message);
  return nullptr;
}

HostLinkServer::HostLinkServer(GObjectPtr<GSocket> socket, std::string path, HostLinkHub& hub,
                               Log& log)
    : socket_(std::move(socket)), path_(std::move(path)), hub_(hub), log_(log) {
  watch();
}

HostLinkServer::~HostLinkServer() { ::unlink(path_.c_str()); }

void HostLinkServer::watch() {
  accepting_.reset(g_socket_create_source(socket_.get(), G_IO_IN, nullptr));
  g_source_set_callback(accepting_.get(), G_SOURCE_FUNC(&HostLinkServer::acceptable), this,
                        nullptr);
  g_source_attach(accepting_.get(), nullptr);
}

gboolean HostLinkServer::acceptable(GSocket* /*socket*/, GIOCondition /*condition*/,
                                    gpointer self) {
  static_cast<HostLinkServer*>(self)->accept();
  return G_SOURCE_CONTINUE;
}

gboolean HostLinkServer::tryAgain(gpointer self) {
  static_cast<HostLinkServer*>(self)->watch();
  return G_SOURCE_REMOVE;
}

void HostLinkServer::accept() {
  GError* failure = nullptr;
  GObjectPtr<GSocket> peer(g_socket_accept(socket_.get(), nullptr, &failure));
  const GErrorPtr error(failure);
  if (peer) {
    if (isSameUser(peer.get())) {
      add(std::move(peer));
    } else {
      log_.write("host link: a connection of another user was refused");
    }
    return;
  }
  if (g_error_matches(failure, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)) return;
  log_.write("host link: a host could not be accepted: " + std::string(failure->message));
  accepting_.reset();
  retry_.reset(g_timeout_source_new_seconds(kRetrySeconds));
  g_source_set_callback(retry_.get(), &HostLinkServer::tryAgain, this, nullptr);
  g_source_attach(retry_.get(), nullptr);
}

bool HostLinkServer::isSameUser(GSocket* peer) const {
  const GObjectPtr<GCredentials> credentials(g_socket_get_credentials(peer, nullptr));
  return credentials && g_credentials_get_unix_user(credentials.get(), nullptr) == ::getuid();
}

void HostLinkServer::add(GObjectPtr<GSocket> peer) {
  const auto host = hosts_.emplace(hosts_.end());
  HostConnection::Handlers handlers{
      [host](std::string_view line) { return host->session->takeLine(line); },
      [host] { host->session->takeOverlongLine(); },
      [this, host](std::string_view reason) {
        if (!reason.empty()) log_.write("host link: a host was cut off: " + std::string(reason));
        hosts_.erase(host);
      }};
  host->connection = std::make_unique<HostConnection>(std::move(peer), hostlink::kMaximumLineLength,
                                                      std::move(handlers));
  host->session = std::make_unique<HostSession>(
      hub_, [host](std::string line) { host->connection->send(std::move(line)); });
}

}  // namespace kelpie
