#include "menus/MenuItemRules.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "menus/ApplicationItemRules.h"
#include "menus/FileItemRules.h"
#include "menus/ItemRule.h"
#include "menus/MenuHost.h"
#include "menus/RepositoryItemRules.h"
#include "refs/KPRefsManager.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

constexpr std::int64_t kFirstApplicationTag = 1000;

std::optional<MenuItemDraft> draftItem(std::int64_t tag, std::string_view title,
                                       const ItemQuestion& question) {
  if (tag < 0) return draftFileItem(tag, title, question);
  if (tag < kFirstApplicationTag) return draftRepositoryItem(tag, title, question);
  return draftApplicationItem(tag, title);
}

// The item that the draft describes. Only an item that carries its action itself leaves its object
// for the action, or takes away what another left.
std::optional<MenuItem> makeItem(MenuItemDraft draft, const ItemQuestion& question) {
  if (!draft.picker.empty()) {
    if (question.repository == nullptr) return std::nullopt;
    return question.repository->refsManager()->menuItemWithTitle(
        std::move(draft.title), draft.reference.get(), draft.action,
        std::vector<std::uint64_t>(draft.picker.begin(), draft.picker.end()), draft.hasHeader);
  }
  if (draft.submenu == nullptr && draft.action.empty()) return std::nullopt;

  MenuItem item(std::move(draft.title));
  if (!draft.action.empty()) item.action = std::string(draft.action);
  if (draft.submenu != nullptr)
    item.submenu = std::move(draft.submenu);
  else
    question.host.senderObjects().set(draft.action, std::move(draft.representedObject));
  return item;
}

}  // namespace

std::optional<MenuItem> MenuItemRules::menuItemForMenuItemTag(std::int64_t tag,
                                                              const KPRepository* repository,
                                                              bool canCreate,
                                                              const Selection& selection) const {
  const std::optional<std::string_view> title = KPUserDefaults::titleForMenuItemTag(tag, log_);
  if (!title) {
    // The look-up has logged that already; the second line says that an item was to be built from
    // it.
    log_.write("Should not get here!!!");
    return std::nullopt;
  }
  const ItemQuestion question{repository, canCreate, selection, host_};
  std::optional<MenuItemDraft> draft = draftItem(tag, *title, question);
  if (!draft) return std::nullopt;
  return makeItem(*std::move(draft), question);
}

}  // namespace kelpie
