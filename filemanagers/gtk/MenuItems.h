#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/ShownMenu.h"
#include "gtk/HostApi.h"
#include "linux/hostclient/HostClient.h"

namespace kelpie::filemanagers {

// The items that the file manager adds to the menu of these files, or of the ground of a folder:
// one with our menu below it; null when there is nothing to add. The list is the caller's. Main
// thread.
GList* itemsForFiles(GList* files);
GList* itemsForGround(HostFile* folder);

}  // namespace kelpie::filemanagers
