#include "agent/actions/ActionRunner.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "agent/actions/ActionRules.h"

namespace kelpie::agent {
namespace {

constexpr std::string_view kQuit = "quit:";
constexpr const char* kUndo = "undoDiscard:";
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
  if (request.kind() == ActionKind::Creation && !request.paths.empty())
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
  thread_.check();
  const std::string_view chosen = request.rule->action;
  if (chosen == kQuit) {
    finish(begin(request, {}), ActionOutcome::done());
    if (callbacks_.quit) callbacks_.quit();
    return;
  }
  // git would take the agent's own folder for the one that is meant.
  if (request.kind() == ActionKind::Repository && context.workingCopy.root.empty())
    return refuse(request, "It was chosen for no working copy.");
  const std::string folder = laneOf(request, context);
  const std::uint64_t id = begin(request, folder);
  Lane& lane = lanes_[folder];
  if (lane.waiting >= kMostWaiting)
    return finish(id, ActionOutcome::failed("Too many actions wait to be done."));
  if (chosen == kUndo) withdrawUndo(folder);
  if (lane.queue == nullptr) lane.queue = queues_.makeQueue(kQueueLabel);
  ++lane.waiting;
  context.action = id;
  post(id, request, std::move(context));
}

void ActionRunner::post(std::uint64_t id, const ActionRequest& request, ActionContext context) {
  const std::shared_ptr<SerialQueue> queue = lanes_.at(laneOf(request, context)).queue;
  queue->post([this, id, request, context = std::move(context), control = actions_.at(id).control,
               means = means_, main = main_, alive = alive_] {
    ActionOutcome outcome = ActionOutcome::cancelled();
    const ActionControl::Work work(*control);
    if (!control->isCancelled()) outcome = ActionJob(request, context, means).run();
    // An action whose programs were ended because it was called off has not failed.
    if (control->isCancelled() && !outcome.isDone()) outcome = ActionOutcome::cancelled();
    // Only the main thread may check whether `this` still exists.
    main->post([this, id, request, context, alive, outcome] {
      if (*alive) ended(id, request, context, outcome);
    });
  });
}

void ActionRunner::refuse(const ActionRequest& request, const std::string& why) {
  thread_.check();
  finish(begin(request, {}), ActionOutcome::failed(why));
}

std::vector<ActionInfo> ActionRunner::actions() const {
  thread_.check();
  std::vector<ActionInfo> infos;
  infos.reserve(actions_.size());
  for (const auto& [id, action] : actions_) infos.push_back(infoOf(id, action));
  return infos;
}

bool ActionRunner::cancel(std::uint64_t id) {
  thread_.check();
  const auto action = actions_.find(id);
  if (action == actions_.end()) return false;
  action->second.control->cancel();
  // Checked after calling it off, so that an action that begins in between finds itself called off.
  if (!action->second.control->hasBegun()) finish(id, ActionOutcome::cancelled());
  return true;
}

std::uint64_t ActionRunner::begin(const ActionRequest& request, const std::string& folder) {
  const std::uint64_t id = ++lastId_;
  const Action& action = actions_
                             .emplace(id, Action{request, folder, std::make_shared<ActionControl>(),
                                                 std::chrono::steady_clock::now()})
                             .first->second;
  if (callbacks_.began) callbacks_.began(infoOf(id, action));
  return id;
}

void ActionRunner::finish(std::uint64_t id, const ActionOutcome& outcome) {
  const auto action = actions_.find(id);
  if (action == actions_.end()) return;
  const ActionInfo info = infoOf(id, action->second);
  const ActionRequest request = std::move(action->second.request);
  actions_.erase(action);
  if (outcome.end == ActionOutcome::End::Failed) report(request, outcome.message);
  if (outcome.end == ActionOutcome::End::Cancelled)
    log_.write("Action " + request.action() + " was cancelled.");
  if (callbacks_.over) callbacks_.over(info, outcome);
}

ActionInfo ActionRunner::infoOf(std::uint64_t id, const Action& action) const {
  ActionInfo info;
  info.id = id;
  info.action = action.request.action();
  info.label = action.request.rule->label;
  info.title = action.request.title;
  info.folder = action.folder;
  info.choice = action.request.choice;
  if (action.control->hasBegun())
    info.state =
        action.control->isAsking() ? ActionInfo::State::Asking : ActionInfo::State::Running;
  info.since = action.since;
  return info;
}

void ActionRunner::leaveLane(const std::string& key) {
  const auto lane = lanes_.find(key);
  if (lane != lanes_.end() && --lane->second.waiting == 0) lanes_.erase(lane);
}

void ActionRunner::ended(std::uint64_t id, const ActionRequest& request,
                         const ActionContext& context, const ActionOutcome& outcome) {
  leaveLane(laneOf(request, context));
  finish(id, outcome);
  if (!outcome.kept.empty()) offerUndo(request, outcome.kept);
  for (const ProgramCall& window : outcome.windows) start(request, window);
  if (callbacks_.ended) callbacks_.ended(request, context, outcome);
}

void ActionRunner::offerUndo(const ActionRequest& request,
                             const std::vector<ActionOutcome::Kept>& kept) {
  const std::string label(request.rule->label);
  UndoOffer offer{0, {}};
  std::string text = "What it replaced was put aside. To bring it back:";
  for (const ActionOutcome::Kept& each : kept) {
    const std::string& root = each.workingCopy.root;
    withdrawUndo(root);
    offer.roots.push_back(root);
    text += "\nkelpie undo " + shellWord(root);
  }
  offer.key = notifier_.offer(label, text, {"Undo", [this, kept, alive = alive_] {
                                              if (*alive) undo(kept);
                                            }});
  undoOffers_.push_back(std::move(offer));
}

void ActionRunner::undo(const std::vector<ActionOutcome::Kept>& kept) {
  for (const ActionOutcome::Kept& each : kept) {
    ActionRequest request(*ActionRules::find(kUndo));
    request.record = each.record;
    ActionContext context;
    context.workingCopy = each.workingCopy;
    run(request, std::move(context));
  }
}

void ActionRunner::withdrawUndo(const std::string& root) {
  thread_.check();
  const auto offer = std::ranges::find_if(undoOffers_, [&](const UndoOffer& each) {
    return std::ranges::find(each.roots, root) != each.roots.end();
  });
  if (offer == undoOffers_.end()) return;
  const Notifier::Key key = offer->key;
  undoOffers_.erase(offer);
  notifier_.withdraw(key);
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
  log_.write("Action " + request.action() + " failed: " + message);
  notifier_.notify(std::string(request.rule->label) + " failed", message);
}

}  // namespace kelpie::agent
