#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "menus/ItemRule.h"

namespace kelpie {

// The items that work on the main application itself (tags from 1000). They always apply; absent
// for a tag without a rule. `title` is the one of the catalogue.
std::optional<MenuItemDraft> draftApplicationItem(std::int64_t tag, std::string_view title);

}  // namespace kelpie
