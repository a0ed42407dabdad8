#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "e2e/ProcessHost.h"
#include "support/linux/TestSocket.h"

namespace kelpie {

// A file manager on the host link: plain lines on a socket, no code of the system under test.
class TestHost {
 public:
  // Connects; `processes` outlives this.
  explicit TestHost(ProcessHost& processes);

  // Sends one line.
  void send(const nlohmann::json& message);
  void sendText(std::string_view text);
  // Says hello and answers the welcome.
  nlohmann::json hello();
  // Runs the main loop until a message of that type is there, and takes it; those before it are
  // dropped. null when none comes.
  nlohmann::json waitFor(const std::string& type);
  // Runs the main loop until the item of the URL was last given that badge.
  bool waitForBadge(const std::string& url, const std::string& badge);
  // Asks for the menu of these URLs and answers it; null when there is none.
  nlohmann::json menu(int kind, const std::vector<std::string>& selected);
  // Chooses the item at that index path of the last menu, and waits until its action has run; null
  // when it does not.
  nlohmann::json choose(const std::vector<std::size_t>& path);
  // Whether the other end has closed the connection.
  bool isClosed();

 private:
  void readLines();

  ProcessHost& processes_;
  TestSocket socket_;
  std::string unread_;
  std::deque<nlohmann::json> messages_;
  int requests_ = 0;
  int menu_ = 0;  // the id of the last one
};

// The URL of a path as a host spells it.
std::string fileURL(const std::string& path);

}  // namespace kelpie
