#include "menus/MenuAssembly.h"

#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/FileIdentifier.h"
#include "foundation/MemoFileSystem.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "menus/MenuHost.h"
#include "menus/MenuItemRules.h"
#include "menus/MenuLayout.h"
#include "menus/SelectionDescription.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

// The setting that holds the item list; empty for a kind that has no menu.
std::string_view itemListKey(FIMenuKind kind) {
  switch (kind) {
    case FIMenuKind::ContextualMenuForItems:
    case FIMenuKind::ContextualMenuForContainer:
      return kContextualMenuItemsKey;
    case FIMenuKind::ToolbarItemMenu:
      return kToolbarItemMenuItemsKey;
    case FIMenuKind::ContextualMenuForSidebar:
      break;
  }
  return {};
}

Menu notRunningMenu() {
  Menu menu;
  menu.items.emplace_back("Kelpie is not running").enabled = false;
  return menu;
}

}  // namespace

std::optional<Menu> MenuAssembly::menuForMenuKind(FIMenuKind kind) const {
  if (host_.applicationPid() < 0) {
    if (kind != FIMenuKind::ToolbarItemMenu) return std::nullopt;
    return notRunningMenu();
  }
  const std::string_view key = itemListKey(kind);
  if (key.empty()) return std::nullopt;
  const UserDefaults* const defaults = defaults_.sharedApplicationGroupDefaults();
  const Object itemList = defaults != nullptr ? defaults->dictionaryForKey(key) : Object();

  // The look-up of the repository and the status of the items ask about the same files.
  const MemoFileSystem files(platform_.files);
  setTargets();
  const std::shared_ptr<KPRepository> repository = repositoryOfTargets(files);
  const bool canCreate = repository == nullptr && canCreateAtTarget(files);
  if (repository != nullptr) unshallow(*repository);

  const Selection selection = describeSelection(host_.targetURLs(), repository.get(), files);
  const MenuItemRules rules(host_, platform_.log);
  return MenuLayout(rules, repository.get(), canCreate, selection, platform_.log)
      .menuForItemList(itemList);
}

// What is selected, else what the menu was opened on.
void MenuAssembly::setTargets() const {
  std::vector<URL> targets = platform_.finder.selectedItemURLs();
  if (targets.empty()) {
    if (std::optional<URL> targeted = platform_.finder.targetedURL())
      targets.push_back(*std::move(targeted));
  }
  host_.setTargetURLs(std::move(targets));
}

// The one repository that targets belong to; targets outside of every repository do not count.
// Null when there is none, or more than one, or one whose identifier the main application takes
// away meanwhile: no action could name it.
std::shared_ptr<KPRepository> MenuAssembly::repositoryOfTargets(const FileSystem& files) const {
  const std::vector<std::shared_ptr<KPRepository>> repositories =
      host_.repositoriesForURLs(host_.targetURLs(), files);
  if (repositories.size() != 1 || !repositories.front()->identifier()) return nullptr;
  return repositories.front();
}

// A repository can be made of a single folder that is in none.
bool MenuAssembly::canCreateAtTarget(const FileSystem& files) const {
  const std::vector<URL>& targets = host_.targetURLs();
  return targets.size() == 1 && targets.front().isDirectory(files);
}

// The repository is about to be used: the main application sends the parts that it has left out.
// A message that is handled on another thread may just have taken the identifier away.
void MenuAssembly::unshallow(const KPRepository& repository) const {
  const std::optional<FileIdentifier> identifier = repository.identifier();
  if (!identifier) return;
  host_.sendMessage(Dictionary{{kMessageSelectorKey, selector::kUnshallowRepository},
                               {kMessageArgumentKey, *identifier}},
                    kApplicationMessage);
}

}  // namespace kelpie
