#include "linux/hostlink/HostLinkServer.h"

#include <string_view>
#include <utility>

#include "protocol/hostlink/HostLines.h"

namespace kelpie {

Result<std::unique_ptr<HostLinkServer>> HostLinkServer::listen(MainLoop& loop,
                                                               const std::string& path,
                                                               HostLinkHub& hub) {
  std::unique_ptr<HostLinkServer> server(new HostLinkServer(loop, hub));
  auto listener = UnixListener::create(
      loop, path, [raw = server.get()](UniqueFd socket) { raw->add(std::move(socket)); });
  if (!listener) return Problem{"the host link cannot be opened: " + listener.problem()};
  server->listener_ = *std::move(listener);
  return server;
}

void HostLinkServer::add(UniqueFd socket) {
  const auto host = hosts_.emplace(hosts_.end());
  HostConnection::Handlers handlers{
      [host](std::string_view line) { return host->session->handleLine(line); },
      [host] { host->session->handleOverlongLine(); },
      [this, host](std::string_view reason) {
        if (!reason.empty())
          loop_.log().write("host link: a host was cut off: " + std::string(reason));
        hosts_.erase(host);
      }};
  host->connection = std::make_unique<HostConnection>(
      loop_, std::move(socket), hostlink::kMaximumLineLength, std::move(handlers));
  host->session = std::make_unique<HostSession>(
      hub_, [host](std::string line) { host->connection->send(std::move(line)); });
}

}  // namespace kelpie
