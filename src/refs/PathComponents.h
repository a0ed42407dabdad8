#pragma once

#include <string_view>

namespace kelpie {

// Names cut at slashes, as the platform cuts paths: empty components vanish, wherever they stand,
// and a leading slash is a component of its own, "/".

// The last component; "" of an empty name. Borrowed from `name`.
std::string_view lastPathComponent(std::string_view name);

// Cuts the first component off `name` and returns it; "" when none is left. Borrowed from `name`,
// like what is left.
std::string_view cutFirstPathComponent(std::string_view& name);

}  // namespace kelpie
