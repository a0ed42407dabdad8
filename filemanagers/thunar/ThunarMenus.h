#pragma once

#include "thunar/ThunarApi.h"

namespace kelpie::filemanagers {

// The items that Thunar adds to the menu of these files, or of the ground of a folder: one with our
// menu below it; null when there is nothing to add. The list is the caller's. Main thread.
GList* itemsForFiles(GList* files);
GList* itemsForGround(ThunarxFileInfo* folder);

}  // namespace kelpie::filemanagers
