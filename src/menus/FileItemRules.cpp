#include "menus/FileItemRules.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "foundation/Dictionary.h"
#include "menus/ItemTitle.h"
#include "menus/MenuHost.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

// -- When an item applies --------------------------------------------------------------------

using Applies = bool(const Object& items, const ItemQuestion& question);

bool hasItems(const Object& items, const ItemQuestion& /*question*/) { return items.size() > 0; }

// A conflicted item is diffable as well, so the one diffable item may be a conflict.
bool isOneWithoutConflict(const Object& items, const ItemQuestion& question) {
  return items.size() == 1 && question.selection.conflicted.size() == 0;
}

// The stash takes in changes that are not selected, so the list may be empty.
bool isRealDirty(const Object& /*items*/, const ItemQuestion& question) {
  return question.repository != nullptr && question.repository->isRealDirty();
}

// -- What there is to an item beyond its title and its list ------------------------------------

using Complete = void(MenuItemDraft& draft, const ItemQuestion& question);

// Items with a submenu do not leave their list for their action by themselves, but the action works
// on that list all the same.
void leaveItemsForAction(const MenuItemDraft& draft, const ItemQuestion& question) {
  question.host.senderObjects().set(draft.action, draft.representedObject);
}

void addRevertPicker(MenuItemDraft& draft, const ItemQuestion& question) {
  leaveItemsForAction(draft, question);
  draft.picker = kRemotesBranchesTags;
  draft.hasHeader = true;
}

void nameTheFile(MenuItemDraft& draft, const ItemQuestion& /*question*/) {
  draft.representedObject = Dictionary{{"file", draft.representedObject.at(0)}};
}

// A way out of a conflict. The entries of one submenu share their action; the tag tells them apart.
struct ConflictEntry {
  std::string_view title;
  std::int64_t tag;
  bool usesAncestor = false;
};

constexpr ConflictEntry kResolveEntries[] = {
    {"Mark as Resolved", 0},     {"Resolve Using Ours", 1},
    {"Resolve Using Theirs", 2}, {"Resolve Using Ancestor", 3, true},
    {"Show Details…", 5},  // there is no 4, on purpose
};

constexpr ConflictEntry kRestoreEntries[] = {
    {"Restore Unmerged", 0},
    {"Restore Using Ours", 1},
    {"Restore Using Theirs", 2},
    {"Restore Using Ancestor", 3, true},
};

void addConflictMenu(MenuItemDraft& draft, const ItemQuestion& question,
                     std::span<const ConflictEntry> entries) {
  leaveItemsForAction(draft, question);
  auto menu = std::make_shared<Menu>();
  for (const ConflictEntry& entry : entries) {
    MenuItem item(std::string(entry.title), std::string(draft.action));
    item.tag = entry.tag;
    item.enabled = !entry.usesAncestor || question.selection.hasAncestor;
    menu->items.push_back(std::move(item));
  }
  draft.submenu = std::move(menu);
}

void addResolveMenu(MenuItemDraft& draft, const ItemQuestion& question) {
  addConflictMenu(draft, question, kResolveEntries);
}

void addRestoreMenu(MenuItemDraft& draft, const ItemQuestion& question) {
  addConflictMenu(draft, question, kRestoreEntries);
}

// -- The table -----------------------------------------------------------------------------------

struct FileItemRule {
  std::int64_t tag;
  Object Selection::*items;  // what the title speaks of, and what the action works on
  std::string_view action;
  std::string_view one;   // title for one item
  std::string_view many;  // title for several
  Applies* applies = hasItems;
  Complete* complete = nullptr;
};

using S = Selection;

// clang-format off
constexpr FileItemRule kFileItems[] = {
    { -1, &S::unstaged,    "stage:",        R"(Stage "%@")",              "Stage %lu Files"},
    { -2, &S::staged,      "unstage:",      R"(Unstage "%@")",            "Unstage %lu Files"},
    { -3, &S::diffable,    "diff:",         R"(See Changes in "%@"…)",
                                            "See Changes in %lu Files…"},
    { -4, &S::discardable, "discard:",      R"(Discard Changes in "%@"…)",
                                            "Discard Changes in %lu Files…"},
    { -5, &S::revertable,  "blameItems:",   R"(Blame "%@"…)",             "Blame %lu Files…"},
    { -6, &S::revertable,  "historyItems:", R"(History for "%@"…)",       "History for %lu Files…"},
    { -7, &S::revertable,  "revertItems:",  R"(Revert "%@")",             "Revert %lu Files",
                                            hasItems, addRevertPicker},
    { -8, &S::tracked,     "ignoreItems:",  R"(Ignore "%@")",             "Ignore %lu Files"},
    { -9, &S::tracked,     "excludeItems:", R"(Exclude "%@")",            "Exclude %lu Files"},
    {-10, &S::tracked,     "untrackItems:", R"(Untrack "%@")",            "Untrack %lu Files"},
    {-11, &S::conflicted,  "resolve:",      R"(Resolve "%@")",            "Resolve %lu Files",
                                            hasItems, addResolveMenu},
    {-12, &S::conflicted,  "restore:",      R"(Restore "%@")",            "Restore %lu Files",
                                            hasItems, addRestoreMenu},
    {-13, &S::diffable,    "externalDiff:", R"(External Diff for "%@"…)", "",
                                            isOneWithoutConflict, nameTheFile},
    {-14, &S::diffable,    "saveStash:",    R"(Stash "%@"…)",             "Stash %lu Files…",
                                            isRealDirty},
};
// clang-format on

}  // namespace

std::optional<MenuItemDraft> draftFileItem(std::int64_t tag, std::string_view title,
                                           const ItemQuestion& question) {
  const auto* const rule =
      std::find_if(std::begin(kFileItems), std::end(kFileItems),
                   [tag](const FileItemRule& candidate) { return candidate.tag == tag; });
  if (rule == std::end(kFileItems)) return std::nullopt;

  const Object& items = question.selection.*rule->items;
  if (!rule->applies(items, question)) return std::nullopt;

  MenuItemDraft draft;
  draft.title = titleForItems(rule->one, rule->many, title, items);
  draft.action = rule->action;
  if (items.size() > 0) draft.representedObject = items;
  if (rule->complete != nullptr) rule->complete(draft, question);
  return draft;
}

}  // namespace kelpie
