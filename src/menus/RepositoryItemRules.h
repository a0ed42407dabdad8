#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "menus/ItemRule.h"

namespace kelpie {

// The items that work on a whole repository, or make one (tags 1 to 44).
//
// The item that the rule of that tag drafts for the question; absent when the item does not apply,
// and for a tag without a rule. `title` is the one of the catalogue.
std::optional<MenuItemDraft> draftRepositoryItem(std::int64_t tag, std::string_view title,
                                                 const ItemQuestion& question);

}  // namespace kelpie
