#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "linux/hostlink/AskedItems.h"
#include "linux/hostlink/HostLinkHub.h"
#include "platform/linux/LinuxFinderSyncController.h"

namespace kelpie {

// The conversation with one host: understands its lines, answers them, and tells it of the badges
// and folders that concern it. Knows nothing of sockets. Main queue.
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
  // connection should end once what was sent is written.
  bool takeLine(std::string_view line);
  // The host sent a line beyond the limit.
  void takeOverlongLine();

  // Sends those of the badges whose item the host asked for or whose folder it shows.
  void tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges);
  void tellDirectories(const std::vector<URL>& urls);

 private:
  using Json = nlohmann::json;
  struct Request;
  struct Route;
  static const Route* routeFor(const std::string& type);

  bool hello(const Request& request);
  bool beginObserving(const Request& request);
  bool endObserving(const Request& request);
  bool requestBadges(const Request& request);
  bool menu(const Request& request);
  bool choose(const Request& request);

  // The file URLs of a list. `wrong` tells whether anything else stood there.
  static std::vector<URL> fileURLs(const Json& list, bool& wrong);
  void send(const Json& message);
  void sendError(const Json& id, std::string_view message);

  HostLinkHub& hub_;
  Send send_;
  bool greeted_ = false;
  AskedItems asked_;
  // The folders that the host shows, as it spelled them first, by their paths.
  std::unordered_map<std::string, URL> shown_;
};

}  // namespace kelpie
