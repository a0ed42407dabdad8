#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/URL.h"
#include "status/IgnoredUrls.h"

namespace kelpie {

// What a repository says about where its items lie. A value.
struct ItemPlaces {
  std::optional<URL> root;
  std::optional<URL> gitUrl;
  std::shared_ptr<const IgnoredUrls> ignoredUrls;  // never null
  std::uint64_t number = 0;                        // another whenever they change
};

}  // namespace kelpie
