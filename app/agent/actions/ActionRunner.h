#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "agent/actions/ActionContext.h"
#include "agent/actions/ActionJob.h"
#include "agent/actions/ActionOutcome.h"
#include "agent/actions/ActionRequest.h"
#include "agent/desktop/Notifier.h"
#include "platform/Log.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// Carries out the actions that the user chooses: one at a time per working copy, each on a queue of
// its own. Main thread. What goes wrong is logged and told to the user.
class ActionRunner {
 public:
  struct Callbacks {
    // The user wants the agent to end.
    std::function<void()> quit;
    // An action has ended; one that opens a window, when that was started. May be empty.
    std::function<void(const ActionRequest&, const ActionContext&, const ActionOutcome&)> ended;
  };

  // `queues`, `log` and `notifier` outlive this.
  ActionRunner(ActionJob::Means means, SerialQueues& queues, Log& log, Notifier& notifier,
               Callbacks callbacks);
  // Actions under way go on; nobody hears of how they end.
  ~ActionRunner();
  ActionRunner(const ActionRunner&) = delete;
  ActionRunner& operator=(const ActionRunner&) = delete;

  // Returns at once. Too many that wait for the same working copy are turned away with a message,
  // and so is a window where too many are open.
  void run(const ActionRequest& request, ActionContext context);

 private:
  // The actions of one working copy, or of one folder to be.
  struct Lane {
    std::shared_ptr<SerialQueue> queue;
    std::size_t waiting = 0;
  };

  void ended(const ActionRequest& request, const ActionContext& context,
             const ActionOutcome& outcome);
  void leaveLane(const std::string& key);
  void start(const ActionRequest& request, const ProgramCall& window);
  // Tells how to bring back what the action put aside.
  void offerUndo(const ActionRequest& request, const ActionContext& context);
  void report(const ActionRequest& request, const std::string& message);

  std::shared_ptr<const ActionJob::Means> means_;
  SerialQueues& queues_;
  std::shared_ptr<SerialQueue> main_;
  Log& log_;
  Notifier& notifier_;
  Callbacks callbacks_;
  std::map<std::string, Lane> lanes_;
  std::size_t windows_ = 0;  // that are open
  // Tasks ask it whether this is still there.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace kelpie::agent
