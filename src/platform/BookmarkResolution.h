#pragma once

#include <optional>

#include "foundation/Error.h"
#include "foundation/URL.h"

namespace kelpie {

// What resolving a bookmark gave. A failure may come without an error.
struct BookmarkResolution {
  std::optional<URL> url;
  bool isStale = false;  // the item at the path is not the one that was bookmarked
  std::optional<Error> error;
};

}  // namespace kelpie
