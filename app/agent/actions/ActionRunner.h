#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent/actions/ActionContext.h"
#include "agent/actions/ActionInfo.h"
#include "agent/actions/ActionJob.h"
#include "agent/actions/ActionOutcome.h"
#include "agent/actions/ActionRequest.h"
#include "agent/desktop/ActionControl.h"
#include "agent/desktop/Notifier.h"
#include "foundation/ThreadBound.h"
#include "platform/Log.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// Carries out the actions that the user chooses: one at a time per working copy, each on a queue of
// its own. Main thread. What goes wrong is logged and told to the user.
class ActionRunner {
 public:
  struct Callbacks {
    // The user wants the agent to end.
    std::function<void()> quit = {};
    // An action has ended; an action that opens a window ends when the window's program was
    // started. May be empty.
    std::function<void(const ActionRequest&, const ActionContext&, const ActionOutcome&)> ended =
        {};
    // Called for every request, first when it comes and then when it ends, also if it is turned
    // away or called off before its turn. May be empty.
    std::function<void(const ActionInfo&)> began = {};
    std::function<void(const ActionInfo&, const ActionOutcome&)> over = {};
  };

  // `queues`, `log` and `notifier` outlive this.
  ActionRunner(ActionJob::Means means, SerialQueues& queues, Log& log, Notifier& notifier,
               Callbacks callbacks);
  // Actions under way go on, but no callback is called any more.
  ~ActionRunner();
  ActionRunner(const ActionRunner&) = delete;
  ActionRunner& operator=(const ActionRunner&) = delete;

  // Returns at once. Too many that wait for the same working copy are turned away with a message,
  // and so is a window where too many are open.
  void run(const ActionRequest& request, ActionContext context);
  // The request cannot be carried out: reports that like the end of an action.
  void refuse(const ActionRequest& request, const std::string& why);

  // Withdraws the offer to undo the last action of the working copy with that root, because it was
  // undone in another way or would bring back something else by now.
  void withdrawUndo(const std::string& root);

  // The actions that have not ended, in the order in which they were chosen.
  std::vector<ActionInfo> actions() const;
  // Calls an action off. An action that waits has ended when this returns; a running one ends as
  // soon as its programs have. False when there is no such action any more.
  bool cancel(std::uint64_t id);

 private:
  // The actions of one working copy, or of one folder that is to become one.
  struct Lane {
    std::shared_ptr<SerialQueue> queue;
    std::size_t waiting = 0;
  };

  // An action that has not ended.
  struct Action {
    ActionRequest request;
    std::string folder;
    std::shared_ptr<ActionControl> control;
    std::chrono::steady_clock::time_point since;
  };

  std::uint64_t begin(const ActionRequest& request, const std::string& folder);
  void finish(std::uint64_t id, const ActionOutcome& outcome);
  ActionInfo infoOf(std::uint64_t id, const Action& action) const;
  void post(std::uint64_t id, const ActionRequest& request, ActionContext context);
  void ended(std::uint64_t id, const ActionRequest& request, const ActionContext& context,
             const ActionOutcome& outcome);
  void leaveLane(const std::string& key);
  void start(const ActionRequest& request, const ProgramCall& window);
  // Tells how to bring back what the action put aside.
  void offerUndo(const ActionRequest& request, const std::vector<ActionOutcome::Kept>& kept);
  void undo(const std::vector<ActionOutcome::Kept>& kept);
  void report(const ActionRequest& request, const std::string& message);

  std::shared_ptr<const ActionJob::Means> means_;
  SerialQueues& queues_;
  std::shared_ptr<SerialQueue> main_;
  Log& log_;
  Notifier& notifier_;
  Callbacks callbacks_;
  std::map<std::string, Lane> lanes_;
  std::uint64_t lastId_ = 0;
  std::map<std::uint64_t, Action> actions_;
  std::size_t windows_ = 0;  // that are open
  // An offer to undo an action, with the roots of the working copies that it concerns.
  struct UndoOffer {
    Notifier::Key key;
    std::vector<std::string> roots;
  };
  std::vector<UndoOffer> undoOffers_;
  // Tasks check it to see whether this still exists.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  ThreadBound thread_;
};

}  // namespace kelpie::agent
