#pragma once

#include <gio/gio.h>
#include <glib.h>

#include <memory>

namespace kelpie {

// Owning pointers for what GLib counts or allocates.

struct GObjectUnref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
// Owns one reference to a GObject.
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GErrorFree {
  void operator()(GError* error) const { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct GVariantUnref {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using GVariantPtr = std::unique_ptr<GVariant, GVariantUnref>;

struct GFreeDelete {
  void operator()(gpointer memory) const { g_free(memory); }
};
using GCharPtr = std::unique_ptr<char, GFreeDelete>;

// A source of the main loop; letting it go takes it out of the context.
struct GSourceDestroy {
  void operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
  }
};
using GSourcePtr = std::unique_ptr<GSource, GSourceDestroy>;

}  // namespace kelpie
