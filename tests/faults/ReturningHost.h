#pragma once

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/linux/TestSocket.h"

namespace kelpie {

// A file manager that comes back when it was cut off, as the real ones do: it connects anew, and
// shows and asks for the same again. Plain lines on a socket. One thread.
class ReturningHost {
 public:
  explicit ReturningHost(std::string socketPath) : socketPath_(std::move(socketPath)) {}

  // Opens a window on the folder: it, and what is in it now, are asked for. Shown again when it was
  // shown before.
  void show(const std::string& folder);
  // Closes the connection; what is shown stays known, for the next one.
  void leave();

  // Takes in what has arrived, and connects if it must. Waits for a moment when nothing has.
  void work();
  // Says that somebody has waited for long enough. Called again and again.
  using IsTooLate = std::function<bool()>;
  // Work until `done` is true. False when it is too late before.
  bool workUntil(const std::function<bool()>& done, const IsTooLate& isTooLate);

  // The badge that the item was last given; empty for none.
  std::string badge(const std::string& path) const;
  // All that was asked for on this connection.
  const std::set<std::string>& asked() const { return asked_; }
  // The contextual menu of these paths; null without one, or when it is too late for an answer.
  nlohmann::json menu(const std::vector<std::string>& paths, const IsTooLate& isTooLate);
  // Chooses the item at the end of these titles, once there is one that is enabled. False when its
  // action was not sent before it was too late.
  bool choose(const std::vector<std::string>& paths, const std::vector<std::string>& titles,
              const IsTooLate& isTooLate);

 private:
  bool send(const nlohmann::json& message);
  void connect();
  void ask(const std::string& folder);
  void handle(const nlohmann::json& message);

  const std::string socketPath_;
  std::optional<TestSocket> socket_;
  std::string unread_;
  std::set<std::string> shown_;                // folders
  std::set<std::string> asked_;                // paths
  std::map<std::string, std::string> badges_;  // by URL
  std::map<int, nlohmann::json> answers_;      // by number of the request
  int requests_ = 0;
};

}  // namespace kelpie
