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

// What a repository keeps of one status dictionary (except the state), read out of the archive in
// one go, so that the archive itself is not kept. A value that is absent or of another class reads
// as empty.
struct StatusInfo {
  // Absent: there is no table, and entries are not recorded.
  std::optional<StatusTable> status;
  Object createdDirectories;
  std::shared_ptr<const UrlList> dirtyUrls = std::make_shared<const UrlList>();
  std::shared_ptr<const IgnoredUrls> ignoredUrls = std::make_shared<const IgnoredUrls>();
  std::shared_ptr<const DeletedUrls> deletedUrls = std::make_shared<const DeletedUrls>();
  std::uint64_t newCount = 0;

  static StatusInfo read(const ObjectView& info);
  // The table of a dictionary from item keys to arrays of status word and path; absent for anything
  // else. An entry other than an array is left out, as is a key that names no item.
  static std::optional<StatusTable> readTable(const ObjectView& entries);
  // An array as it came, without what it was read from.
  static Object detached(const ObjectView& array);
};

}  // namespace kelpie
