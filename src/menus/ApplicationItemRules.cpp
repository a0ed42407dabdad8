#include "menus/ApplicationItemRules.h"

#include <string>

namespace kelpie {
namespace {

struct ApplicationItemRule {
  std::int64_t tag;
  std::string_view action;
};

constexpr ApplicationItemRule kApplicationItems[] = {
    {1000, "showAboutPanel:"},
    {1001, "showPreferences:"},
    {1002, "showConfiguration:"},
    {1005, "quit:"},
};

}  // namespace

std::optional<MenuItemDraft> draftApplicationItem(std::int64_t tag, std::string_view title) {
  for (const ApplicationItemRule& rule : kApplicationItems) {
    if (rule.tag != tag) continue;
    MenuItemDraft draft;
    draft.title = std::string(title);
    draft.action = rule.action;
    return draft;
  }
  return std::nullopt;
}

}  // namespace kelpie
