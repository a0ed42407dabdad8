#include "status/DeletedUrls.h"

#include <algorithm>

namespace kelpie {

void DeletedUrls::forEachWithPrefix(std::string_view prefix,
                                    FunctionRef<void(std::string_view path)> visit) const {
  std::call_once(once_, [this] {
    sorted_.reserve(urls_.size());
    for (std::size_t i = 0; i < urls_.size(); ++i) sorted_.push_back(urls_.path(i));
    std::sort(sorted_.begin(), sorted_.end());
  });
  for (auto path = std::lower_bound(sorted_.begin(), sorted_.end(), prefix);
       path != sorted_.end() && path->starts_with(prefix); ++path)
    visit(*path);
}

}  // namespace kelpie
