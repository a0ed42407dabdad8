#include "settings/ItemListMigration.h"

#include <cstdint>
#include <string_view>
#include <utility>

#include "settings/SettingsKeys.h"

namespace kelpie {

namespace {

constexpr std::string_view kMenuKeys[] = {kContextualMenuItemsKey, kToolbarItemMenuItemsKey};
constexpr std::string_view kListKeys[] = {kRootMenuItemsKey, kMoreMenuItemsKey};

constexpr std::int64_t kRetiredStashFiles = 12;
constexpr std::int64_t kStashFiles = -14;
constexpr std::int64_t kRetired[] = {32, 33};

// Whether there was one.
bool removeTag(Objects& tags, std::int64_t tag) {
  const Object number(tag);
  return std::erase_if(tags, [&](const Object& element) {
           return element.isNumber() && element.isEqual(number);
         }) != 0;
}

// Puts an array of tags into one list of a menu's item list and stores the whole item list.
void storeTags(UserDefaults& defaults, std::string_view menuKey, Dictionary& menu,
               std::string_view listKey, std::string_view groupKey, const Objects& tags) {
  Dictionary list = menu[listKey].dictionary();
  list.set(groupKey, tags);
  menu.set(listKey, std::move(list));
  defaults.setObject(menuKey, menu);
}

void migrateList(UserDefaults& defaults, std::string_view menuKey, Dictionary& menu,
                 std::string_view listKey) {
  const Object list = menu[listKey];
  if (!list[kRepoMenuItemsKey].isArray()) return;
  Objects repoTags = list[kRepoMenuItemsKey].elements();
  bool changed = false;
  if (removeTag(repoTags, kRetiredStashFiles)) {
    Objects fileTags = list[kFileMenuItemsKey].elements();
    fileTags.emplace_back(kStashFiles);
    // Stored before the repository tags are, so that no reader ever sees the item in neither list.
    storeTags(defaults, menuKey, menu, listKey, kFileMenuItemsKey, fileTags);
    changed = true;
  }
  for (const std::int64_t tag : kRetired) changed = removeTag(repoTags, tag) || changed;
  if (changed) storeTags(defaults, menuKey, menu, listKey, kRepoMenuItemsKey, repoTags);
}

}  // namespace

void migrateItemLists(UserDefaults& defaults) {
  for (const std::string_view menuKey : kMenuKeys) {
    Dictionary menu = defaults.dictionaryForKey(menuKey).dictionary();
    for (const std::string_view listKey : kListKeys) migrateList(defaults, menuKey, menu, listKey);
  }
}

}  // namespace kelpie
