#pragma once

#include "gtk/HostApi.h"

namespace kelpie::filemanagers {

// What the window with a file's properties shows of it: the badge in words. The list, of pages or
// of models as the file manager has them, is the caller's; null when there is nothing to say. Main
// thread.
GList* propertiesOf(GList* files);

// The column of a list view that says the same. The list is the caller's.
GList* statusColumns();

}  // namespace kelpie::filemanagers
