#include "cli/commands/DoCommand.h"

#include <glib.h>
#include <poll.h>

#include <algorithm>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include "cli/commands/MenuRequest.h"
#include "cli/link/ActionWait.h"

namespace kelpie::cli {
namespace {

// How long the main application may take to read them, and to tell the extension.
constexpr std::chrono::milliseconds kReferencesLimit(30'000);
constexpr std::chrono::milliseconds kReferencesUnderWay(1000);
constexpr int kPause = 50;  // milliseconds

// The items of some submenus, with the paths that name them.
std::vector<MenuPath::Match> innerOf(const std::vector<MenuPath::Match>& submenus) {
  std::vector<MenuPath::Match> all;
  for (const MenuPath::Match& submenu : submenus) {
    for (MenuPath::Match& choice : MenuPath::choices(submenu.item->submenu)) {
      choice.path.insert(0, submenu.path + '/');
      all.push_back(std::move(choice));
    }
  }
  return all;
}

// A name for a choice that nobody else has.
std::string newChoice() {
  const GCharPtr uuid(g_uuid_string_random());
  return uuid.get();
}

}  // namespace

int DoCommand::run() {
  const std::string& title = arguments_.operands().front();
  const std::vector<std::string> paths(arguments_.operands().begin() + 1,
                                       arguments_.operands().end());
  const auto menu = MenuRequest::make(arguments_, paths, context_);
  if (!menu) return kFailure;
  const MenuPath wanted(title);
  if (wanted.isInSubmenu() && wanted.find(menu->items()).empty()) awaitItem(*menu, wanted);
  const auto matches = wanted.find(menu->items());
  if (matches.empty())
    return list("the menu has no item \"" + title + "\"; it has:",
                MenuPath::choices(menu->items()));
  const auto isSubmenu = [](const MenuPath::Match& match) {
    return match.item->isEnabled && !match.item->action;
  };
  if (std::ranges::all_of(matches, isSubmenu))
    return list("\"" + matches.front().path + "\" is a submenu; it has:", innerOf(matches));
  if (matches.size() > 1) return list("\"" + title + "\" may be:", matches);

  const MenuPath::Match& match = matches.front();
  if (!match.item->isEnabled) {
    console_.complain("\"" + console_.printable(match.path) + "\" is disabled at the moment");
    return kFailure;
  }
  return choose(*menu, match);
}

// Branches and tags come into the menus a moment after they were first asked for.
void DoCommand::awaitItem(MenuRequest& menu, const MenuPath& wanted) {
  const auto agent = AgentClient::connect();
  auto deadline = Clock::now() + (agent ? kReferencesLimit : arguments_.wait());
  bool haveCome = false;
  while (wanted.find(menu.items()).empty() && Clock::now() < deadline) {
    const auto copy = agent ? agent->workingCopy(menu.place()) : std::nullopt;
    if (agent && (!copy || copy->hasReferences) && !std::exchange(haveCome, true))
      deadline = std::min<Clock::time_point>(deadline, Clock::now() + kReferencesUnderWay);
    ::poll(nullptr, 0, kPause);
    if (menu.refresh()) return;
  }
}

int DoCommand::choose(MenuRequest& menu, const MenuPath::Match& match) {
  const std::string choice = newChoice();
  const std::chrono::milliseconds limit = arguments_.limit();
  std::optional<Result<AgentClient>> agent;
  if (limit.count() > 0) agent = AgentClient::connect();
  // Listens before the action can end.
  std::optional<ActionWait> wait;
  if (agent && *agent)
    wait.emplace(**agent,
                 ActionWait::Chosen{choice, match.item->action.value_or(""), menu.place()});
  if (const auto failure = menu.choose(match.indices, choice)) {
    console_.complain(console_.printable(*failure));
    return kFailure;
  }
  if (wait) return outcomeOf(*wait, limit);
  if (!agent) return kSuccess;
  console_.complain("the action was handed on, but " + console_.printable(agent->problem()) +
                    ": how it ends is not known");
  return kUnknown;
}

int DoCommand::outcomeOf(ActionWait& wait, std::chrono::milliseconds limit) {
  const auto number = [&] { return std::to_string(wait.action().id); };
  const auto label = [&] { return console_.printable(wait.action().label); };
  const ActionWait::End end = wait.wait(limit, [&] {
    console_.complain(label() + " is still under way; to call it off: kelpie cancel " + number());
  });
  switch (end) {
    case ActionWait::End::Told:
      return tell(wait.action());
    case ActionWait::End::Limit:
      console_.complain(label() + " has not ended; see: kelpie actions");
      return kUnknown;
    case ActionWait::End::Unheard:
      console_.complain("the main application does not tell of the action; see: kelpie doctor");
      return kUnknown;
    case ActionWait::End::Gone:
      console_.complain("the main application has ended before " + label());
      return kUnknown;
  }
  return kUnknown;
}

int DoCommand::tell(const AgentClient::Action& action) {
  std::string text = console_.printable(action.label);
  text += action.end == "done" ? ": done" : action.end == "failed" ? " failed" : " was cancelled";
  // Git's messages have several lines.
  std::istringstream lines(action.message);
  for (std::string line; std::getline(lines, line);) text += "\n  " + console_.printable(line);
  if (action.end == "done") {
    console_.out() << text << '\n';
    return kSuccess;
  }
  console_.complain(text);
  return kFailure;
}

int DoCommand::list(std::string_view complaint, const std::vector<MenuPath::Match>& choices) {
  std::string text = console_.printable(complaint);
  for (const MenuPath::Match& choice : choices) text += "\n  " + console_.printable(choice.path);
  console_.complain(text);
  return kUsage;
}

}  // namespace kelpie::cli
