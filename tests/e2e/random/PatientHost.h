#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "foundation/ConditionVariable.h"
#include "foundation/Mutex.h"
#include "support/linux/TestSocket.h"

namespace kelpie {

// A file manager that never asks twice: for each item it asks once, when the item comes into a
// folder that it shows, and from then on believes what it is told. It notices by itself which
// items there are, as file managers do, but looks for them only when it is told to. Speaks plain
// lines on a socket. One thread, but for the one that takes in what arrives.
class PatientHost {
 public:
  using Clock = std::chrono::steady_clock;

  // An item on screen.
  struct Item {
    std::string badge = "none";  // the last that it was given
    Clock::time_point since;     // when it was given another one than before
    int askedAt = 0;             // the step in which it was asked for
  };
  using Items = std::map<std::string, Item>;  // by path

  // `top` are folders that are shown whenever they are there; of the folders below them those for
  // which `shows` returns true.
  PatientHost(std::string socketPath, std::vector<std::string> top,
              std::function<bool(const std::string& folder)> shows);
  ~PatientHost();
  PatientHost(const PatientHost&) = delete;
  PatientHost& operator=(const PatientHost&) = delete;

  // Connects, also anew, and says hello. All that is shown is asked for then. False when nobody
  // listens.
  bool connect();
  // Shows the folders that have come, and asks for the items that have.
  void look(int step);

  Items items() const;
  // Badges that have arrived so far. waitForMore() waits until there are more than `known`, at
  // most until `end`.
  std::uint64_t received() const;
  void waitForMore(std::uint64_t known, Clock::time_point end) const;
  // Answers that were errors, or not JSON; empty as a rule.
  std::string complaints() const;

 private:
  void receive(int socket);
  void handle(const std::string& line);
  void send(const std::string& line);
  void disconnect();
  void lookInto(const std::string& folder, int step, std::set<std::string>& found);
  void ask(const std::string& path, int step);
  void sendAsked();

  const std::string socketPath_;
  const std::vector<std::string> top_;
  const std::function<bool(const std::string&)> shows_;
  TestSocket socket_;
  std::thread receiver_;
  std::map<std::string, ino_t> shown_;  // folders
  std::vector<std::string> asked_;      // URLs, to be sent
  std::string unread_;                  // receiver's

  mutable Mutex mutex_;
  mutable ConditionVariable arrived_;
  std::map<std::string, Item> items_ KELPIE_GUARDED_BY(mutex_);         // by path
  std::map<std::string, std::string> paths_ KELPIE_GUARDED_BY(mutex_);  // by URL
  std::uint64_t received_ KELPIE_GUARDED_BY(mutex_) = 0;
  std::string complaints_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
