#include "agent/actions/ActionRunner.h"

#include <string_view>
#include <utility>

#include "agent/actions/ActionRules.h"

namespace kelpie::agent {
namespace {

constexpr std::string_view kQuit = "quit:";
constexpr const char* kQueueLabel = "org.kelpie.Kelpie.Actions";
constexpr const char* kWindowLabel = "org.kelpie.Kelpie.Windows";
// A person does not choose faster than this; a program that sends messages may.
constexpr std::size_t kMostWaiting = 32;
constexpr std::size_t kMostWindows = 64;

// As the shell reads it, whatever is in it.
std::string shellWord(const std::string& text) {
  std::string word = "'";
  for (const char each : text) each == '\'' ? word.append("'\\''") : word.append(1, each);
  return word + "'";
}

std::string laneOf(const ActionRequest& request, const ActionContext& context) {
  if (request.kind == ActionRequest::Kind::Creation && !request.paths.empty())
    return request.paths.front();
  return context.workingCopy.root;
}

}  // namespace

ActionRunner::ActionRunner(ActionJob::Means means, SerialQueues& queues, Log& log,
                           Notifier& notifier, Callbacks callbacks)
    : means_(std::make_shared<const ActionJob::Means>(std::move(means))),
      queues_(queues),
      main_(queues.mainQueue()),
      log_(log),
      notifier_(notifier),
      callbacks_(std::move(callbacks)) {}

ActionRunner::~ActionRunner() { *alive_ = false; }

void ActionRunner::run(const ActionRequest& request, ActionContext context) {
  const ActionRule* rule = ActionRules::find(request.action);
  if (rule == nullptr) return log_.write("Unknown action: " + request.action);
  if (request.action == kQuit) {
    if (callbacks_.quit) callbacks_.quit();
    return;
  }
  // git would take the agent's own folder for the one that is meant.
  if (request.kind == ActionRequest::Kind::Repository && context.workingCopy.root.empty())
    return log_.write("Action " + request.action + " for no working copy.");
  Lane& lane = lanes_[laneOf(request, context)];
  if (lane.waiting >= kMostWaiting) return report(request, "Too many actions wait to be done.");
  if (lane.queue == nullptr) lane.queue = queues_.makeQueue(kQueueLabel);
  ++lane.waiting;
  lane.queue->post([this, rule, request, context = std::move(context), means = means_, main = main_,
                    alive = alive_] {
    // Only the main thread may ask whether `this` is there.
    main->post(
        [this, request, context, alive, outcome = ActionJob(*rule, request, context, means).run()] {
          if (*alive) ended(request, context, outcome);
        });
  });
}

void ActionRunner::leaveLane(const std::string& key) {
  const auto lane = lanes_.find(key);
  if (lane != lanes_.end() && --lane->second.waiting == 0) lanes_.erase(lane);
}

void ActionRunner::ended(const ActionRequest& request, const ActionContext& context,
                         const ActionOutcome& outcome) {
  leaveLane(laneOf(request, context));
  if (outcome.end == ActionOutcome::End::Failed) report(request, outcome.message);
  if (outcome.canBeUndone) offerUndo(request, context);
  for (const ProgramCall& window : outcome.windows) start(request, window);
  if (callbacks_.ended) callbacks_.ended(request, context, outcome);
}

void ActionRunner::offerUndo(const ActionRequest& request, const ActionContext& context) {
  const ActionRule* rule = ActionRules::find(request.action);
  const std::string label(rule == nullptr ? request.action : rule->label);
  notifier_.notify(label, "What it replaced was put aside. To bring it back:\nkelpie undo " +
                              shellWord(context.workingCopy.root));
}

// Each window keeps its own queue busy until it is closed.
void ActionRunner::start(const ActionRequest& request, const ProgramCall& window) {
  if (windows_ >= kMostWindows) return report(request, "Too many windows are open.");
  ++windows_;
  queues_.makeQueue(kWindowLabel)->post([this, request, window, main = main_, alive = alive_] {
    main->post([this, request, alive, program = window.arguments.front(),
                result = Subprocess::run(window)] {
      if (!*alive) return;
      --windows_;
      if (!result.succeeded()) report(request, program + ": " + result.failure());
    });
  });
}

void ActionRunner::report(const ActionRequest& request, const std::string& message) {
  const ActionRule* rule = ActionRules::find(request.action);
  const std::string label(rule == nullptr ? request.action : rule->label);
  log_.write("Action " + request.action + " failed: " + message);
  notifier_.notify(label + " failed", message);
}

}  // namespace kelpie::agent
