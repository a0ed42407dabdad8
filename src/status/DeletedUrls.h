#pragma once

#include <cstddef>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FunctionRef.h"
#include "status/UrlList.h"

namespace kelpie {

// The list of placeholders of deleted items that came with one status. Any thread.
class DeletedUrls {
 public:
  DeletedUrls() = default;
  explicit DeletedUrls(UrlList urls) : urls_(std::move(urls)) {}
  DeletedUrls(const DeletedUrls&) = delete;
  DeletedUrls& operator=(const DeletedUrls&) = delete;

  const UrlList& urls() const { return urls_; }

  // The paths that begin with `prefix`, as text: "/r/a" takes "/r/ab/x". One that stands in the
  // list twice comes twice. Looks at those alone, save that the first call sorts the list.
  void forEachWithPrefix(std::string_view prefix, FunctionRef<void(std::string_view path)>) const;

 private:
  const UrlList urls_{};
  mutable std::once_flag once_;
  mutable std::vector<std::string_view> sorted_;  // borrowed from urls_; made under once_
};

}  // namespace kelpie
