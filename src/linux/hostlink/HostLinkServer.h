#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>

#include "foundation/Result.h"
#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"
#include "linux/base/UnixListener.h"
#include "linux/hostlink/HostConnection.h"
#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostSession.h"

namespace kelpie {

// The listening end of the host link: a Unix stream socket that file managers connect to. Serves
// peers of the same user only. Main thread.
class HostLinkServer {
 public:
  // Listens at `path`, where a stale socket is replaced. The loop and the hub are borrowed.
  static Result<std::unique_ptr<HostLinkServer>> listen(MainLoop& loop, const std::string& path,
                                                        HostLinkHub& hub);
  // Ends all connections and removes the socket file.
  ~HostLinkServer() = default;
  HostLinkServer(const HostLinkServer&) = delete;
  HostLinkServer& operator=(const HostLinkServer&) = delete;

  std::size_t connectionCount() const { return hosts_.size(); }

 private:
  struct Host {
    std::unique_ptr<HostConnection> connection;
    std::unique_ptr<HostSession> session;  // goes first: it sends through the connection
  };

  HostLinkServer(MainLoop& loop, HostLinkHub& hub) : loop_(loop), hub_(hub) {}
  void add(UniqueFd socket);

  MainLoop& loop_;
  HostLinkHub& hub_;
  std::list<Host> hosts_;
  std::unique_ptr<UnixListener> listener_;
};

}  // namespace kelpie
