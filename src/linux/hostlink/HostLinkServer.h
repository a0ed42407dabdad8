#pragma once

#include <list>
#include <memory>
#include <string>

#include "linux/base/GLibPointers.h"
#include "linux/hostlink/HostConnection.h"
#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostSession.h"
#include "platform/Log.h"

namespace kelpie {

// The listening end of the host link: a Unix stream socket that file managers connect to. Serves
// peers of the same user only. Main context.
class HostLinkServer {
 public:
  // Listens at `path`, whose stale socket file is replaced; the caller holds the lock that makes
  // sure that nobody listens there. Null, and `problem` filled, when that fails. The hub and the
  // log are borrowed.
  static std::unique_ptr<HostLinkServer> listen(const std::string& path, HostLinkHub& hub, Log& log,
                                                std::string& problem);
  // Ends all connections and removes the socket file.
  ~HostLinkServer();
  HostLinkServer(const HostLinkServer&) = delete;
  HostLinkServer& operator=(const HostLinkServer&) = delete;

  std::size_t connectionCount() const { return hosts_.size(); }

 private:
  struct Host {
    std::unique_ptr<HostConnection> connection;
    std::unique_ptr<HostSession> session;  // goes first: it sends through the connection
  };

  HostLinkServer(GObjectPtr<GSocket> socket, std::string path, HostLinkHub& hub, Log& log);
  static gboolean acceptable(GSocket* socket, GIOCondition condition, gpointer self);
  static gboolean tryAgain(gpointer self);
  void watch();
  void accept();
  bool isSameUser(GSocket* peer) const;
  void add(GObjectPtr<GSocket> peer);

  GObjectPtr<GSocket> socket_;
  std::string path_;
  HostLinkHub& hub_;
  Log& log_;
  std::list<Host> hosts_;
  GSourcePtr accepting_;
  GSourcePtr retry_;
};

}  // namespace kelpie
