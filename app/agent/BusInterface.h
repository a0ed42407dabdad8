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

// What the agent publishes on the session bus: the actions under way and how they end, the notices
// to the user, and a summary of a working copy. docs/protocols.md has the interface. Main thread.
class BusInterface {
 public:
  using SummaryTeller = std::function<void(const std::optional<WorkingCopySummary>&)>;
  struct Answers {
    std::function<std::vector<ActionInfo>()> actions;
    std::function<bool(std::uint64_t)> cancel;
    // Another program has brought back what was put aside in the working copy with that root
    // (bytes).
    std::function<void(const std::string& root)> undone;
    // Summarises the open working copy that holds the item at the absolute path (bytes); absent
    // when there is none. Calls `tell` later, on the main thread.
    std::function<void(const std::string& path, SummaryTeller tell)> summary;
  };

  // `bus` is null where there is none. `log` outlives this. Failures are logged.
  BusInterface(GDBusConnection* bus, Log& log, Answers answers);
  ~BusInterface();
  BusInterface(const BusInterface&) = delete;
  BusInterface& operator=(const BusInterface&) = delete;

  void began(const ActionInfo& action);
  void over(const ActionInfo& action, const ActionOutcome& outcome);
  // The user was told something.
  void told(const std::string& title, const std::string& text);
  // Waits until everything is sent, a second at most: the process is about to end.
  void flush();

  // Calls `undone` of the agent that runs on that bus, if any. Waits until it has answered, two
  // seconds at most.
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
