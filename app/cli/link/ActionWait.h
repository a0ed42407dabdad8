#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "cli/link/AgentClient.h"
#include "cli/link/Deadline.h"
#include "foundation/ThreadBound.h"

namespace kelpie::cli {

// Listens to how actions end from the moment it is made, so that the end of an action that is
// chosen later is not missed. Main thread.
class ActionWait {
 public:
  enum class End : std::uint8_t {
    Told,     // action() says how it ended
    Limit,    // the limit has passed, and it has not ended
    Unheard,  // the main application has not told of the action at all
    Gone,     // the main application has ended before the action has
  };

  // The traits that tell the chosen action from others.
  struct Chosen {
    std::string choice;
    std::string selector;
    std::string folder;  // absolute
  };

  // `client` outlives this.
  ActionWait(const AgentClient& client, Chosen chosen);
  ~ActionWait();
  ActionWait(const ActionWait&) = delete;
  ActionWait& operator=(const ActionWait&) = delete;

  // Waits. When the action is still under way after a moment, calls `slow` once.
  End wait(std::chrono::milliseconds limit, const std::function<void()>& slow);
  // Whether that is the chosen action. The message for a new working copy cannot bear a choice, nor
  // a title: then the folder tells.
  static bool isOf(const Chosen& chosen, const AgentClient::Action& action);
  // What was told of the action last.
  const AgentClient::Action& action() const { return action_; }

 private:
  bool isOver() const { return isGone_ || !action_.end.empty(); }
  bool isOurs(const AgentClient::Action& action) const;
  // Handles what comes until `done`, or the deadline.
  void waitUntil(Clock::time_point deadline, const std::function<bool()>& done);
  static void heard(GDBusConnection* bus, const gchar* sender, const gchar* path,
                    const gchar* interface, const gchar* signal, GVariant* values, gpointer self);
  static void ownerChanged(GDBusConnection* bus, const gchar* sender, const gchar* path,
                           const gchar* interface, const gchar* signal, GVariant* values,
                           gpointer self);

  GDBusConnection* bus_;
  Chosen chosen_;
  guint signals_ = 0;
  guint owners_ = 0;
  bool isGone_ = false;
  AgentClient::Action action_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
