#include "cli/settings/Setting.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "cli/settings/ItemNames.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"

namespace kelpie::cli {
namespace {

constexpr Setting kSettings[] = {
    {"folder-status", kShowFolderGitStatusKey},
    {"menu-items", kContextualMenuItemsKey, kRootMenuItemsKey},
    {"menu-more-items", kContextualMenuItemsKey, kMoreMenuItemsKey},
    {"toolbar-items", kToolbarItemMenuItemsKey, kRootMenuItemsKey},
    {"toolbar-more-items", kToolbarItemMenuItemsKey, kMoreMenuItemsKey},
};

struct SwitchWord {
  std::string_view word;
  bool value;
};
constexpr SwitchWord kSwitchWords[] = {{"on", true},  {"off", false}, {"yes", true},
                                       {"no", false}, {"true", true}, {"false", false},
                                       {"1", true},   {"0", false}};

}  // namespace

std::span<const Setting> Setting::table() { return kSettings; }

const Setting* Setting::find(std::string_view name) {
  const auto* found = std::ranges::find(kSettings, name, &Setting::name);
  return found == std::end(kSettings) ? nullptr : found;
}

bool Setting::isDefault(const SettingsSnapshot& settings) const {
  if (!settings.isStored(key_)) return true;
  const SettingsSnapshot factory{Dictionary()};
  return isList() ? tags(settings) == tags(factory)
                  : settings.boolForKey(key_) == factory.boolForKey(key_);
}

std::string Setting::switchText(const SettingsSnapshot& settings) const {
  return settings.boolForKey(key_) ? "on" : "off";
}

std::vector<std::int64_t> Setting::tags(const SettingsSnapshot& settings) const {
  std::vector<std::int64_t> tags;
  const Object list = settings.dictionaryForKey(key_)[listKey_];
  for (const ItemGroup& group : ItemNames::groups()) {
    const Object array = list[group.key];
    for (std::size_t i = 0; array.isArray() && i < array.size(); ++i)
      if (array.at(i).isNumber()) tags.push_back(array.at(i).integerValue());
  }
  return tags;
}

OrderedJson Setting::json(const SettingsSnapshot& settings) const {
  if (!isList()) return settings.boolForKey(key_);
  OrderedJson list = OrderedJson::array();
  for (const std::int64_t tag : tags(settings)) list.push_back(ItemNames::json(tag));
  return list;
}

std::optional<std::string> Setting::set(SettingsSnapshot& settings,
                                        const std::vector<std::string>& words) const {
  if (!isList()) return setSwitch(settings, words);
  std::vector<std::int64_t> tags;
  for (const std::string& word : words) {
    if (words.size() == 1 && word == "none") break;
    const auto tag = ItemNames::tagOf(word);
    if (!tag) return "there is no menu item \"" + word + "\"; see: kelpie settings list --json";
    if (std::ranges::find(tags, *tag) != tags.end()) return "\"" + word + "\" is there twice";
    tags.push_back(*tag);
  }
  Dictionary list;
  for (const ItemGroup& group : ItemNames::groups()) {
    Objects array;
    for (const std::int64_t tag : tags)
      if (&ItemNames::groupOf(tag) == &group) array.emplace_back(tag);
    list.set(group.key, std::move(array));
  }
  storeList(settings, list);
  return std::nullopt;
}

void Setting::reset(SettingsSnapshot& settings) const {
  if (!settings.isStored(key_)) return;
  if (isList()) {
    const Dictionary factory = KPUserDefaults::defaultFinderMenuItems();
    storeList(settings, factory[listKey_]);
    if (!settings.objectForKey(key_).isEqual(factory)) return;
  }
  settings.removeObject(key_);
}

std::optional<std::string> Setting::setSwitch(SettingsSnapshot& settings,
                                              const std::vector<std::string>& words) const {
  const auto* found = words.size() == 1
                          ? std::ranges::find(kSwitchWords, words.front(), &SwitchWord::word)
                          : std::end(kSwitchWords);
  if (found == std::end(kSwitchWords)) return std::string(name_) + R"( is "on" or "off")";
  settings.setObject(key_, found->value);
  return std::nullopt;
}

// The other list of the menu stays as it is.
void Setting::storeList(SettingsSnapshot& settings, const Object& list) const {
  Dictionary menu = settings.dictionaryForKey(key_).dictionary();
  menu.set(listKey_, list);
  settings.setObject(key_, menu);
}

}  // namespace kelpie::cli
