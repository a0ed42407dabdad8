#pragma once

// The file manager's own interface under one name for all three: HOST_FUNCTION(file_info_get_uri)
// is caja_file_info_get_uri, nemo_… or nautilus_…. They are of one descent and differ in little.

#include <gio/gio.h>
#include <glib-object.h>

#if defined(KELPIE_FOR_CAJA)
#include <libcaja-extension/caja-column-provider.h>
#include <libcaja-extension/caja-file-info.h>
#include <libcaja-extension/caja-info-provider.h>
#include <libcaja-extension/caja-location-widget-provider.h>
#include <libcaja-extension/caja-menu-provider.h>
#include <libcaja-extension/caja-property-page-provider.h>
#define HOST_FUNCTION(name) caja_##name
#define HOST_CLASS(name) Caja##name
#define HOST_INTERFACE(name) Caja##name##Iface
#define HOST_CONSTANT(name) CAJA_##name
#elif defined(KELPIE_FOR_NEMO)
#include <libnemo-extension/nemo-column-provider.h>
#include <libnemo-extension/nemo-file-info.h>
#include <libnemo-extension/nemo-info-provider.h>
#include <libnemo-extension/nemo-location-widget-provider.h>
#include <libnemo-extension/nemo-menu-provider.h>
#include <libnemo-extension/nemo-name-and-desc-provider.h>
#include <libnemo-extension/nemo-property-page-provider.h>
#define HOST_FUNCTION(name) nemo_##name
#define HOST_CLASS(name) Nemo##name
#define HOST_INTERFACE(name) Nemo##name##Interface
#define HOST_CONSTANT(name) NEMO_##name
#elif defined(KELPIE_FOR_NAUTILUS)
// It leaves this out, so that all that it includes must have been included before.
extern "C" {
#include <nautilus-extension.h>
}
#define HOST_FUNCTION(name) nautilus_##name
#define HOST_CLASS(name) Nautilus##name
#define HOST_INTERFACE(name) Nautilus##name##Interface
#define HOST_CONSTANT(name) NAUTILUS_##name
#else
#error "which file manager?"
#endif

// Two of them are GTK 3 programs, tell of a folder that they leave, and have pages of properties;
// GNOME Files hands extensions no widgets.
#if !defined(KELPIE_FOR_NAUTILUS)
#define KELPIE_HOST_HAS_WIDGETS
#endif

namespace kelpie::filemanagers {

using HostFile = HOST_CLASS(FileInfo);
using HostMenuItem = HOST_CLASS(MenuItem);

}  // namespace kelpie::filemanagers
