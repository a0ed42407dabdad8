#pragma once

#include "platform/UserDefaults.h"

namespace kelpie {

// Rewrites the stored item lists of both menus that still hold retired tags: 32 and 33 go, and 12,
// which was a repository item, becomes the file item -14. Lists without these tags, and lists of
// any other shape, are left as they are. Any thread.
void migrateItemLists(UserDefaults& defaults);

}  // namespace kelpie
