#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "menus/ItemRule.h"

namespace kelpie {

// The items that work on selected files (tags -1 to -14).
//
// The item that the rule of that tag drafts for the question; absent when the item does not apply.
// `title` is the one of the catalogue.
std::optional<MenuItemDraft> draftFileItem(std::int64_t tag, std::string_view title,
                                           const ItemQuestion& question);

}  // namespace kelpie
