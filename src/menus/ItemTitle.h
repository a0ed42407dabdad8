#pragma once

#include <string>
#include <string_view>

#include "foundation/Object.h"
#include "foundation/URL.h"

namespace kelpie {

// The name that a title gives the item: the last component of its path, without the suffix that
// marks the placeholder of a deleted item. UTF-8; what is no UTF-8 shows as U+FFFD.
std::string displayName(const URL& url);

// The title for a list of file URLs: `one` names the only one in the place of its "%@", `many`
// counts several in the place of its "%lu". The name itself is no format. `none` for an empty list.
std::string titleForItems(std::string_view one, std::string_view many, std::string_view none,
                          const Object& urls);

}  // namespace kelpie
