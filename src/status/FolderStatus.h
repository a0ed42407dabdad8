#pragma once

#include <memory>

#include "foundation/URL.h"
#include "protocol/StatusWord.h"
#include "status/LookupCache.h"
#include "status/RepositoryStatus.h"
#include "status/UrlList.h"

namespace kelpie {

// The state of a folder, worked out from the status of what lies in it, as it is now. Without a
// changed item inside, the folder is current and is not walked; so it is when the walk fails.
// Blocks for as long as the walk takes.
StatusWord statusOfFolder(const URL& folder, const std::shared_ptr<const UrlList>& dirtyUrls,
                          const RepositoryStatus& status, LookupCache& cache);

}  // namespace kelpie
