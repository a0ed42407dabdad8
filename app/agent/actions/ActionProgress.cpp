#include "agent/actions/ActionProgress.h"

#include <algorithm>
#include <utility>

namespace kelpie::agent {
namespace {

// What an action waits for, for people: the running one of the same folder.
std::string reasonOf(const ActionInfo& waiting, const std::vector<ActionInfo>& actions) {
  const auto first = std::ranges::find_if(actions, [&](const ActionInfo& each) {
    return each.folder == waiting.folder && each.state != ActionInfo::State::Waiting;
  });
  if (first == actions.end()) return {};
  return "\n" + first->label +
         (first->state == ActionInfo::State::Asking ? " still waits for your answer."
                                                    : " is still running.");
}

}  // namespace

ActionProgress::ActionProgress(MainLoop& loop, Notifier& notifier, Runner runner,
                               std::chrono::milliseconds patience)
    : loop_(loop), notifier_(notifier), runner_(std::move(runner)), patience_(patience) {}

void ActionProgress::began(const ActionInfo& action) {
  thread_.check();
  waitFor(action.id);
}

void ActionProgress::over(const ActionInfo& action) {
  thread_.check();
  const auto watched = watched_.find(action.id);
  if (watched == watched_.end()) return;
  if (watched->second.told) notifier_.withdraw(*watched->second.told);
  watched_.erase(watched);
}

void ActionProgress::waitFor(std::uint64_t id) {
  watched_[id].timer = loop_.callAfter(patience_, [this, id] { look(id); });
}

void ActionProgress::look(std::uint64_t id) {
  const std::vector<ActionInfo> actions = runner_.actions();
  const auto action = std::ranges::find(actions, id, &ActionInfo::id);
  if (action == actions.end()) return;
  // A question on the screen needs no notice; a delay after it does.
  if (action->state == ActionInfo::State::Asking) return waitFor(id);
  const bool waits = action->state == ActionInfo::State::Waiting;
  const std::string title = action->label + (waits ? " has to wait" : " is still running");
  loop_.log().write("Action " + action->action +
                    (waits ? " has to wait, " : " is still running, ") + "number " +
                    std::to_string(id) + ".");
  watched_[id].told =
      notifier_.offer(title, action->folder + (waits ? reasonOf(*action, actions) : std::string()),
                      {"Cancel", [this, id] { runner_.cancel(id); }});
}

}  // namespace kelpie::agent
