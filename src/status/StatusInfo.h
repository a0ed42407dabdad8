#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/Object.h"
#include "foundation/ObjectView.h"
#include "protocol/StatusKeys.h"
#include "status/DeletedUrls.h"
#include "status/IgnoredUrls.h"
#include "status/StatusTable.h"
#include "status/UrlList.h"

namespace kelpie {

// What a repository keeps of one status dictionary (but for its state), read out of the archive in
// one go, so that nothing of the archive is kept. What is missing or of another class is empty.
struct StatusInfo {
  // Without a table there is nothing to record entries in.
  std::optional<StatusTable> status;
  Object createdDirectories;
  std::shared_ptr<const UrlList> dirtyUrls = std::make_shared<const UrlList>();
  std::shared_ptr<const IgnoredUrls> ignoredUrls = std::make_shared<const IgnoredUrls>();
  std::shared_ptr<const DeletedUrls> deletedUrls = std::make_shared<const DeletedUrls>();
  std::uint64_t newCount = 0;

  static StatusInfo read(const ObjectView& info);
  // The table of a dictionary from item keys to arrays of status word and path; missing for
  // anything else. An entry that is no array is left out, as is a key that names no item.
  static std::optional<StatusTable> readTable(const ObjectView& entries);
  // An array as it came, without what it was read from.
  static Object detached(const ObjectView& array);
};

}  // namespace kelpie
