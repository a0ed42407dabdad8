#include "cli/commands/DoCommand.h"

#include <algorithm>
#include <string>
#include <utility>

#include "cli/commands/MenuRequest.h"

namespace kelpie::cli {
namespace {

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

}  // namespace

int DoCommand::run() {
  const std::string& title = arguments_.operands().front();
  const std::vector<std::string> paths(arguments_.operands().begin() + 1,
                                       arguments_.operands().end());
  const auto menu = MenuRequest::make(arguments_, paths, context_);
  if (!menu) return kFailure;
  const auto matches = MenuPath(title).find(menu->items());
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
  if (const auto problem = menu->choose(match.indices)) {
    console_.complain(console_.printable(*problem));
    return kFailure;
  }
  return kSuccess;
}

int DoCommand::list(std::string_view complaint, const std::vector<MenuPath::Match>& choices) {
  std::string text = console_.printable(complaint);
  for (const MenuPath::Match& choice : choices) text += "\n  " + console_.printable(choice.path);
  console_.complain(text);
  return kUsage;
}

}  // namespace kelpie::cli
