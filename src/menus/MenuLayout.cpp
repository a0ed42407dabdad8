#include "menus/MenuLayout.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

struct Group {
  std::string_view key;  // of the group's tags in an item list
  std::string_view header;
};

constexpr Group kGroups[] = {
    {kRepoMenuItemsKey, "Git Repository"},
    {kFileMenuItemsKey, "Git Items"},
    {kAppMenuItemsKey, "Application"},
};

MenuItem headerItem(std::string_view title) {
  MenuItem item{std::string(title)};
  item.image = Image{"ApplicationIcon"};
  item.enabled = false;
  return item;
}

// nil for anything but an array, so that it has no elements.
Object arrayOrNil(const Object& value) { return value.isArray() ? value : Object(); }

}  // namespace

MenuLayout::MenuLayout(const MenuItemRules& rules, const KPRepository* repository, bool canCreate,
                       const Selection& selection, Log& log)
    : rules_(rules),
      repository_(repository),
      canCreate_(canCreate),
      selection_(selection),
      log_(log),
      enabled_(repository == nullptr || !repository->isDisabled()) {}

Menu MenuLayout::menuForItemList(const Object& itemList) const {
  const Object root = itemList[kRootMenuItemsKey];
  const Object more = itemList[kMoreMenuItemsKey];
  Menu menu;
  for (const Group& group : kGroups) {
    const std::size_t start = menu.items.size();
    addItems(arrayOrNil(root[group.key]), group.key, menu);

    auto moreMenu = std::make_shared<Menu>("More");
    addItems(arrayOrNil(more[group.key]), group.key, *moreMenu);
    if (!moreMenu->items.empty()) {
      MenuItem item("More");
      item.enabled = enabled_;
      item.submenu = std::move(moreMenu);
      menu.items.push_back(std::move(item));
    }

    if (menu.items.size() > start) {
      menu.items.insert(menu.items.begin() + static_cast<std::ptrdiff_t>(start),
                        headerItem(group.header));
    }
  }
  return menu;
}

void MenuLayout::addItems(const Object& tags, std::string_view groupKey, Menu& menu) const {
  const std::size_t count = std::min(tags.size(), kMaximumTags);
  if (count < tags.size()) {
    log_.write("Only the first " + std::to_string(count) + " of " + std::to_string(tags.size()) +
               " items under " + std::string(groupKey) + " are shown");
  }
  for (std::size_t i = 0; i < count; ++i) {
    std::optional<MenuItem> item = rules_.menuItemForMenuItemTag(
        tags.at(i).integerValue(), repository_, canCreate_, selection_);
    if (!item) continue;
    item->enabled = enabled_;
    menu.items.push_back(*std::move(item));
  }
}

}  // namespace kelpie
