#pragma once

#include "gtk/HostApi.h"

#if defined(KELPIE_HOST_HAS_WIDGETS)
#include <gtk/gtk.h>

namespace kelpie::filemanagers {

// The widget above the contents of a folder: the button with the toolbar menu, where badges are
// shown, else nothing to be seen. The folder is in view for as long as the widget is there. The
// widget is floating; null for a folder that is not local. Main thread.
GtkWidget* newLocationBar(const char* uri);

}  // namespace kelpie::filemanagers
#endif
