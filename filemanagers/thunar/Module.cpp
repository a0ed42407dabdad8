// What Thunar finds in the library: the entry points, and one type that provides menus.

#include "glib/Guarded.h"
#include "thunar/ThunarApi.h"
#include "thunar/ThunarExtension.h"
#include "thunar/ThunarMenus.h"

namespace kelpie::filemanagers {
namespace {

// A list that `make` made; null when that went wrong.
template <class Make>
GList* listOf(const char* what, Make make) {
  GList* list = nullptr;
  guarded(what, [&] { list = make(); });
  return list;
}

GList* getFileItems(ThunarxMenuProvider* /*provider*/, GtkWidget* /*window*/, GList* files) {
  return listOf("get_file_menu_items", [files] { return itemsForFiles(files); });
}

GList* getFolderItems(ThunarxMenuProvider* /*provider*/, GtkWidget* /*window*/,
                      ThunarxFileInfo* folder) {
  return listOf("get_folder_menu_items", [folder] { return itemsForGround(folder); });
}

struct Provider {
  GObject parent;
};
struct ProviderClass {
  GObjectClass parent;
};

GType providerType = 0;

// Made when Thunar shows its first window: the connection is there before the first menu.
void initProvider(GTypeInstance* /*instance*/, gpointer /*type*/) {
  guarded("new provider", [] { ThunarExtension::instance(); });
}

void provideMenus(gpointer interface, gpointer /*data*/) {
  auto* menus = static_cast<ThunarxMenuProviderIface*>(interface);
  menus->get_file_menu_items = &getFileItems;
  menus->get_folder_menu_items = &getFolderItems;
}

void registerProvider(ThunarxProviderPlugin* plugin) {
  // Objects of ours may be there until the process ends.
  thunarx_provider_plugin_set_resident(plugin, TRUE);
  GTypeInfo info = {};
  info.class_size = sizeof(ProviderClass);
  info.instance_size = sizeof(Provider);
  info.instance_init = &initProvider;
  providerType = thunarx_provider_plugin_register_type(plugin, G_TYPE_OBJECT, "KelpieProvider",
                                                       &info, static_cast<GTypeFlags>(0));
  const GInterfaceInfo menus = {&provideMenus, nullptr, nullptr};
  thunarx_provider_plugin_add_interface(plugin, providerType, THUNARX_TYPE_MENU_PROVIDER, &menus);
}

}  // namespace
}  // namespace kelpie::filemanagers

extern "C" {

// Called once, before anything else.
G_MODULE_EXPORT void thunar_extension_initialize(ThunarxProviderPlugin* plugin) {
  kelpie::filemanagers::guarded("thunar_extension_initialize",
                                [plugin] { kelpie::filemanagers::registerProvider(plugin); });
}

G_MODULE_EXPORT void thunar_extension_shutdown(void) {}

// The types whose objects Thunar asks.
G_MODULE_EXPORT void thunar_extension_list_types(const GType** types, gint* count) {
  *types = &kelpie::filemanagers::providerType;
  *count = 1;
}

}  // extern "C"
