#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
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
  // Says hello and returns the welcome.
  nlohmann::json hello();
  // Runs the main loop until a message of that type is there, and takes it; those before it are
  // dropped. null when none comes.
  nlohmann::json waitFor(const std::string& type);
  // Runs the main loop until the item of the URL was last given that badge.
  bool waitForBadge(const std::string& url, const std::string& badge);
  // The badge that the item of the URL was last given; "none" when it was given none so far.
  std::string badge(const std::string& url);

  // -- As a user, who sees paths ------------------------------------------------------------------

  // Opens a window on the folder: it, and all that is in it, are asked for.
  void show(const std::string& folder);
  void hide(const std::string& folder);
  // Asks for the badges of these paths.
  void ask(const std::vector<std::string>& paths);
  // waitForBadge() of a path.
  bool sees(const std::string& path, const std::string& badge);

  // -- Menus --------------------------------------------------------------------------------------

  // Asks for the menu of these URLs and returns it; null when there is none.
  nlohmann::json menu(int kind, const std::vector<std::string>& selected);
  // Chooses the item at that index path of the last menu, and waits until its action has run; null
  // when it does not.
  nlohmann::json choose(const std::vector<std::size_t>& path);
  // Asks for the contextual menu of these paths until it has the enabled item at the end of these
  // titles, and returns the item; null when that does not come. What the menu offers follows the
  // repository, so that it may take a while.
  nlohmann::json waitForItem(const std::vector<std::string>& paths,
                             const std::vector<std::string>& titles, int kind = 0);
  // Chooses that item, as soon as there is one, and waits until its action was sent. False when it
  // was not.
  bool choose(const std::vector<std::string>& paths, const std::vector<std::string>& titles);
  // Whether the other end has closed the connection.
  bool isClosed();

 private:
  void readLines();
  void note(const nlohmann::json& message);
  // Where the item is in the menu that was answered last; empty when it is not there.
  std::vector<std::size_t> find(const std::vector<std::string>& titles) const;

  ProcessHost& processes_;
  TestSocket socket_;
  std::string unread_;
  std::deque<nlohmann::json> messages_;
  std::map<std::string, std::string> badges_;  // by URL
  nlohmann::json lastMenu_;
  int requests_ = 0;
  int menu_ = 0;  // the id of the last one
};

// The URL of a path as a host spells it.
std::string fileURL(const std::string& path);
// The path that stands for an item that is deleted.
std::string placeholderOf(const std::string& path);

}  // namespace kelpie
