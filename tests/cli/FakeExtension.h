#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Mutex.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::cli {

// An extension by script: listens on a socket, on a thread of its own, and returns the lines of its
// hosts, one host at a time. Badges, menu and welcome are what the test says.
class FakeExtension {
 public:
  using Json = nlohmann::json;

  // Not yet listening.
  FakeExtension();
  ~FakeExtension();
  FakeExtension(const FakeExtension&) = delete;
  FakeExtension& operator=(const FakeExtension&) = delete;

  // What it answers; set before start().
  Json welcome;
  Json menu;                                  // null: there is none
  std::map<std::string, std::string> badges;  // identifiers by URL; others have no answer
  std::string refusal;                        // of a choice; empty: it is done
  // Sent after the welcome, as they are: what a peer gone wrong might send.
  std::string noise;
  // Sent after the first badges, in one piece with them.
  std::string afterBadges;
  bool answersHello = true;
  int passesOver = 0;  // so many of the first questions for badges have no answer

  // Listens at the path, and serves.
  void start(const std::string& path);
  // Ends the connection and listens no longer.
  void stop();
  // Sends a line to the host that is there.
  void say(const Json& message);
  // Tells it of one badge.
  void sayBadge(const std::string& url, const std::string& identifier);

  // The messages that came so far. Any thread.
  std::vector<Json> heard() const;
  // Those of one type.
  std::vector<Json> heard(const std::string& type) const;
  // Waits until a message of that type has come. False after a generous time.
  bool waitFor(const std::string& type) const;

 private:
  void serve();
  void serveHost();
  void answer(const Json& message);
  void write(const std::string& bytes);

  std::string path_;
  UniqueFd listener_;
  UniqueFd host_;
  UniqueFd stop_;  // readable when the thread is to end
  std::thread thread_;
  mutable Mutex mutex_;
  std::vector<Json> heard_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie::cli
