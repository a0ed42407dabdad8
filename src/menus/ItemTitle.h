#pragma once

#include <string>
#include <string_view>

#include "foundation/Object.h"
#include "foundation/URL.h"

namespace kelpie {

// The name that a title gives the item: the last component of its path, without the suffix that
// marks the placeholder of a deleted item. UTF-8; bytes that are not UTF-8 show as U+FFFD.
std::string displayName(const URL& url);

// The title for a list of file URLs: `one` with the name of a single item for its "%@", `many` with
// the number of several for its "%lu", `none` for an empty list. Names are not formats.
std::string titleForItems(std::string_view one, std::string_view many, std::string_view none,
                          const Object& urls);

}  // namespace kelpie
