#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Result.h"
#include "foundation/ThreadBound.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::cli {

// What the main application tells on the session bus. Texts are foreign UTF-8, paths and names are
// bytes; none of it is printable yet. Main thread; blocks for some seconds at the most, where
// nothing else is said.
class AgentClient {
 public:
  // A chosen action.
  struct Action {
    std::uint64_t id = 0;
    std::string action;  // the selector
    std::string label;
    std::string title;  // of the menu item; empty where unknown
    std::string folder;
    std::string choice;
    std::string state;  // "waiting", "running", "asking"; empty once it has ended
    std::string end;    // "done", "cancelled", "failed"; empty before that
    std::string message;
    std::chrono::milliseconds age{0};
  };
  // A working copy that is open.
  struct WorkingCopy {
    struct Change {
      std::string path;  // relative to the root
      bool isDeleted = false;
    };
    std::string root;
    std::string branch;
    std::string upstream;
    std::string commit;
    bool isDetached = false;
    std::optional<std::pair<std::uint64_t, std::uint64_t>> distance;  // ahead, behind
    std::string operation;
    bool hasReferences = false;
    std::vector<Change> changes;
  };

  // Connects; fails when there is no session bus or nobody who answers there.
  static Result<AgentClient> connect();

  // The actions that have not ended; absent when nobody answers.
  std::optional<std::vector<Action>> actions() const;
  // Calls an action off. False when there is none of that number; absent when nobody answers.
  std::optional<bool> cancel(std::uint64_t id) const;
  // The working copy that holds the item at the absolute path. Absent when none is open.
  std::optional<WorkingCopy> workingCopy(const std::string& path) const;

  GDBusConnection* connection() const { return connection_.get(); }

  // What a dictionary of the interface tells of an action.
  static Action actionOf(GVariant* dictionary);
  // Where the interface is on the bus.
  static constexpr const char* kPath = "/org/kelpie/Kelpie";
  static constexpr const char* kInterface = "org.kelpie.Kelpie.Agent";

 private:
  explicit AgentClient(GObjectPtr<GDBusConnection> connection)
      : connection_(std::move(connection)) {}

  Result<GVariantPtr> call(const char* method, GVariant* arguments, const char* answer) const;

  GObjectPtr<GDBusConnection> connection_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
