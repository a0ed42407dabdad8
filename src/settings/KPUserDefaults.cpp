#include "settings/KPUserDefaults.h"

#include <algorithm>
#include <utility>

#include "settings/ApplicationGroup.h"
#include "settings/ItemListMigration.h"
#include "settings/MenuItemCatalogue.h"
#include "settings/SettingsKeys.h"

namespace kelpie {

KPUserDefaults::KPUserDefaults(const Platform& platform)
    : entitlements_(platform.entitlements), center_(platform.defaults) {}

KPUserDefaults::~KPUserDefaults() = default;

UserDefaults* KPUserDefaults::sharedApplicationGroupDefaults() {
  std::call_once(opened_, [this] { open(); });
  return shared_.get();
}

void KPUserDefaults::open() {
  const ApplicationGroup group = ApplicationGroup::read(entitlements_);
  if (group.failure != ApplicationGroup::Failure::None) return;
  shared_ = center_.defaultsWithSuiteName(group.name);
  if (shared_ == nullptr) return;
  const Object factoryItems = defaultFinderMenuItems();
  shared_->registerDefaults({{kShowFolderGitStatusKey, true},
                             {kContextualMenuItemsKey, factoryItems},
                             {kToolbarItemMenuItemsKey, factoryItems}});
  migrateItemLists(*shared_);
}

Dictionary KPUserDefaults::defaultFinderMenuItems() {
  Dictionary items;
  for (const FactoryItems& factory : factoryItemLists()) {
    Dictionary list = items[factory.listKey].dictionary();
    list.set(factory.groupKey, Objects(factory.tags.begin(), factory.tags.end()));
    items.set(factory.listKey, std::move(list));
  }
  return items;
}

std::optional<std::string_view> KPUserDefaults::titleForMenuItemTag(std::int64_t tag, Log& log) {
  const auto catalogue = menuItemCatalogue();
  const auto found = std::ranges::find(catalogue, tag, &MenuItemName::tag);
  if (found == catalogue.end()) {
    log.write("Should not get here!!!");
    return std::nullopt;
  }
  return found->title;
}

}  // namespace kelpie
