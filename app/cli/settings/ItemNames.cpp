#include "cli/settings/ItemNames.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "cli/text/TitleFit.h"
#include "settings/MenuItemCatalogue.h"
#include "settings/SettingsKeys.h"

namespace kelpie::cli {
namespace {

constexpr ItemGroup kGroups[] = {
    {kRepoMenuItemsKey, "repository", 0, 999},
    {kFileMenuItemsKey, "file", std::numeric_limits<std::int64_t>::min(), -1},
    {kAppMenuItemsKey, "application", 1000, std::numeric_limits<std::int64_t>::max()},
};

const MenuItemName* find(std::int64_t tag) {
  const auto catalogue = menuItemCatalogue();
  const auto found = std::ranges::find(catalogue, tag, &MenuItemName::tag);
  return found == catalogue.end() ? nullptr : &*found;
}

}  // namespace

std::span<const ItemGroup> ItemNames::groups() { return kGroups; }

const ItemGroup& ItemNames::groupOf(std::int64_t tag) {
  return *std::ranges::find_if(
      kGroups, [tag](const ItemGroup& group) { return tag >= group.first && tag <= group.last; });
}

std::optional<std::int64_t> ItemNames::tagOf(std::string_view word) {
  std::int64_t tag = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), tag);
  if (error == std::errc() && end == word.data() + word.size())
    return find(tag) != nullptr ? std::optional(tag) : std::nullopt;
  for (const MenuItemName& item : menuItemCatalogue())
    if (titleFit(word, item.title) <= TitleFit::Alike) return item.tag;
  return std::nullopt;
}

std::string_view ItemNames::titleOf(std::int64_t tag) {
  const MenuItemName* item = find(tag);
  return item != nullptr ? item->title : "unknown item";
}

OrderedJson ItemNames::json(std::int64_t tag) {
  OrderedJson entry;
  entry["tag"] = tag;
  entry["title"] = titleOf(tag);
  entry["group"] = groupOf(tag).name;
  return entry;
}

}  // namespace kelpie::cli
