#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "agent/actions/ActionInfo.h"
#include "agent/actions/ActionOutcome.h"
#include "agent/git/WorkingCopySummary.h"
#include "foundation/ThreadBound.h"
#include "linux/base/GLibPointers.h"
#include "platform/Log.h"

namespace kelpie::agent {

// What the agent tells on the session bus to whoever asks: the actions under way and how they end,
// what the user is told, and what is known of a working copy. docs/protocols.md has the interface.
// Main thread.
class BusInterface {
 public:
  using SummaryTeller = std::function<void(const std::optional<WorkingCopySummary>&)>;
  struct Answers {
    std::function<std::vector<ActionInfo>()> actions;
    std::function<bool(std::uint64_t)> cancel;
    // What was put aside in the working copy with that root (bytes) was brought back by another
    // program.
    std::function<void(const std::string& root)> undone;
    // Of the working copy that is open and holds the item at the absolute path (bytes); missing
    // when none does. Tells it later, on the main thread.
    std::function<void(const std::string& path, SummaryTeller tell)> summary;
  };

  // `bus` is null where there is none. `log` outlives this. What goes wrong is logged.
  BusInterface(GDBusConnection* bus, Log& log, Answers answers);
  ~BusInterface();
  BusInterface(const BusInterface&) = delete;
  BusInterface& operator=(const BusInterface&) = delete;

  void began(const ActionInfo& action);
  void over(const ActionInfo& action, const ActionOutcome& outcome);
  // The user was told something.
  void told(const std::string& title, const std::string& text);
  // Waits until all that was told is sent, a second at most: the process is about to end.
  void flush();

  // Tells the interface of the agent that runs on that bus, if any, what `undone` is for. Waits
  // until it knows, two seconds at most.
  static void tellUndone(GDBusConnection* bus, const std::string& root);

 private:
  void answerUndone(GVariant* arguments, GDBusMethodInvocation* call) const;
  void tellSummary(GVariant* arguments, GDBusMethodInvocation* call) const;
  void emit(const char* signal, GVariant* values);
  static void called(GDBusConnection* bus, const gchar* sender, const gchar* path,
                     const gchar* interface, const gchar* method, GVariant* arguments,
                     GDBusMethodInvocation* call, gpointer self);

  GObjectPtr<GDBusConnection> bus_;
  Log& log_;
  Answers answers_;
  guint registration_ = 0;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
