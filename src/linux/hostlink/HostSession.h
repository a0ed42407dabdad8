#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/ThreadBound.h"
#include "linux/hostlink/AskedItems.h"
#include "linux/hostlink/HostLinkHub.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "protocol/hostlink/HostLines.h"

namespace kelpie {

// The conversation with one host: understands its lines, answers them, and tells it of the badges
// and folders that concern it. Knows nothing of sockets. Main thread.
class HostSession {
 public:
  // Sends a line ("\n" included) to the host.
  using Send = std::function<void(std::string line)>;

  HostSession(HostLinkHub& hub, Send send);
  // Leaves every folder that the host shows.
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  // Serves one line of the host, without its "\n". False when the conversation is over and the
  // connection should end once the sent bytes are written.
  bool handleLine(std::string_view line);
  // The host sent a line beyond the limit.
  void handleOverlongLine();

  // Sends those of the badges whose item the host asked for or whose folder it shows.
  void tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges);
  void tellDirectories(const std::vector<URL>& urls);

  // Whether the host shows the folder at that path.
  bool shows(const std::string& folder) const { return asked_.shows(folder); }

 private:
  // Each serves a line of its type, and returns whether the conversation goes on.
  bool serve(const hostlink::Hello& line);
  bool serve(const hostlink::BeginObserving& line);
  bool serve(const hostlink::EndObserving& line);
  bool serve(const hostlink::RequestBadges& line);
  bool serve(const hostlink::MenuRequest& line);
  bool serve(const hostlink::Choose& line);

  void send(const hostlink::ExtensionLine& message);
  // Sends an error about the line that is being served.
  void sendError(std::string_view message);

  HostLinkHub& hub_;
  Send send_;
  bool greeted_ = false;
  AskedItems asked_;
  hostlink::Number lineId_;  // of the line that is being served, or null
  ThreadBound thread_;
};

}  // namespace kelpie
