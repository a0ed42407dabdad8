#pragma once

#include <string>
#include <variant>

#include "foundation/FileIdentifier.h"

namespace kelpie {

// The key of an item in a repository's status: the file's identifier or, for the placeholder of a
// deleted item that does not exist on disk, its path.
using ItemKey = std::variant<FileIdentifier, std::string>;

}  // namespace kelpie
