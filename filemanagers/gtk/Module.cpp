// What the file manager finds in the library: the entry points, and one type that provides all that
// it asks extensions for.

#include <array>
#include <string>

#include "glib/Guarded.h"
#include "gtk/Extension.h"
#include "gtk/HostApi.h"
#include "gtk/LocationBar.h"
#include "gtk/MenuItems.h"
#include "gtk/Properties.h"

namespace kelpie::filemanagers {
namespace {

// A list that `make` made; null when that went wrong.
template <class Make>
GList* listOf(const char* what, Make make) {
  GList* list = nullptr;
  guarded(what, [&] { list = make(); });
  return list;
}

// -- What the type provides -----------------------------------------------------------------------

// Always answered at once: what is not known yet is shown when it comes, so nothing is in progress
// and nothing there to be cancelled.
HOST_CLASS(OperationResult)
updateFileInfo(HOST_CLASS(InfoProvider) * /*provider*/, HostFile* file, GClosure* /*complete*/,
               HOST_CLASS(OperationHandle) * * /*handle*/) {
  guarded("update_file_info", [file] { Extension::instance().show(file); });
  return HOST_CONSTANT(OPERATION_COMPLETE);
}

void cancelUpdate(HOST_CLASS(InfoProvider) * /*provider*/, HOST_CLASS(OperationHandle) *
                  /*handle*/) {}

#if defined(KELPIE_HOST_HAS_WIDGETS)

GList* getFileItems(HOST_CLASS(MenuProvider) * /*provider*/, GtkWidget* /*window*/, GList* files) {
  return listOf("get_file_items", [files] { return itemsForFiles(files); });
}

GList* getBackgroundItems(HOST_CLASS(MenuProvider) * /*provider*/, GtkWidget* /*window*/,
                          HostFile* folder) {
  return listOf("get_background_items", [folder] { return itemsForGround(folder); });
}

GtkWidget* getWidget(HOST_CLASS(LocationWidgetProvider) * /*provider*/, const char* uri,
                     GtkWidget* /*window*/) {
  GtkWidget* widget = nullptr;
  guarded("get_widget", [&] { widget = newLocationBar(uri); });
  return widget;
}

GList* getPages(HOST_CLASS(PropertyPageProvider) * /*provider*/, GList* files) {
  return listOf("get_pages", [files] { return propertiesOf(files); });
}

#else

GList* getFileItems(NautilusMenuProvider* /*provider*/, GList* files) {
  return listOf("get_file_items", [files] { return itemsForFiles(files); });
}

GList* getBackgroundItems(NautilusMenuProvider* /*provider*/, HostFile* folder) {
  return listOf("get_background_items", [folder] { return itemsForGround(folder); });
}

GList* getModels(NautilusPropertiesModelProvider* /*provider*/, GList* files) {
  return listOf("get_models", [files] { return propertiesOf(files); });
}

#endif

GList* getColumns(HOST_CLASS(ColumnProvider) * /*provider*/) {
  return listOf("get_columns", [] { return statusColumns(); });
}

#if defined(KELPIE_FOR_NEMO)

// What the list of plug-ins says of us: a name and what it does.
GList* getNameAndDescription(NemoNameAndDescProvider* /*provider*/) {
  return g_list_append(nullptr, g_strdup("Kelpie:::Git status and git actions"));
}

#endif

// -- The type -------------------------------------------------------------------------------------

struct Provider {
  GObject parent;
};
struct ProviderClass {
  GObjectClass parent;
};

GType providerType = 0;

void initProvider(GTypeInstance* instance, gpointer /*type*/) {
  guarded("new provider", [instance] { Extension::instance().addProvider(instance); });
}

void finalizeProvider(GObject* object) {
  guarded("provider gone", [object] { Extension::instance().removeProvider(object); });
  G_OBJECT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(object)))->finalize(object);
}

void initClass(gpointer type, gpointer /*data*/) {
  static_cast<GObjectClass*>(type)->finalize = &finalizeProvider;
}

// Fills in an interface of the file manager's. `fill` is called by GObject, once.
struct Interface {
  GType type;
  GInterfaceInitFunc fill;
};

void provideInfo(gpointer interface, gpointer /*data*/) {
  auto* info = static_cast<HOST_INTERFACE(InfoProvider)*>(interface);
  info->update_file_info = &updateFileInfo;
  info->cancel_update = &cancelUpdate;
}

void provideMenus(gpointer interface, gpointer /*data*/) {
  auto* menus = static_cast<HOST_INTERFACE(MenuProvider)*>(interface);
  menus->get_file_items = &getFileItems;
  menus->get_background_items = &getBackgroundItems;
}

void provideColumns(gpointer interface, gpointer /*data*/) {
  static_cast<HOST_INTERFACE(ColumnProvider)*>(interface)->get_columns = &getColumns;
}

#if defined(KELPIE_HOST_HAS_WIDGETS)

void provideWidgets(gpointer interface, gpointer /*data*/) {
  static_cast<HOST_INTERFACE(LocationWidgetProvider)*>(interface)->get_widget = &getWidget;
}

void providePages(gpointer interface, gpointer /*data*/) {
  static_cast<HOST_INTERFACE(PropertyPageProvider)*>(interface)->get_pages = &getPages;
}

#else

void provideModels(gpointer interface, gpointer /*data*/) {
  static_cast<NautilusPropertiesModelProviderInterface*>(interface)->get_models = &getModels;
}

#endif

#if defined(KELPIE_FOR_NEMO)

void provideNames(gpointer interface, gpointer /*data*/) {
  static_cast<NemoNameAndDescProviderInterface*>(interface)->get_name_and_desc =
      &getNameAndDescription;
}

#endif

void registerProvider(GTypeModule* module) {
  GTypeInfo info = {};
  info.class_size = sizeof(ProviderClass);
  info.class_init = &initClass;
  info.instance_size = sizeof(Provider);
  info.instance_init = &initProvider;
  providerType = g_type_module_register_type(module, G_TYPE_OBJECT, "KelpieProvider", &info,
                                             static_cast<GTypeFlags>(0));
  const Interface interfaces[] = {
    {HOST_CONSTANT(TYPE_INFO_PROVIDER), &provideInfo},
    {HOST_CONSTANT(TYPE_MENU_PROVIDER), &provideMenus},
    {HOST_CONSTANT(TYPE_COLUMN_PROVIDER), &provideColumns},
#if defined(KELPIE_HOST_HAS_WIDGETS)
    {HOST_CONSTANT(TYPE_LOCATION_WIDGET_PROVIDER), &provideWidgets},
    {HOST_CONSTANT(TYPE_PROPERTY_PAGE_PROVIDER), &providePages},
#else
    {NAUTILUS_TYPE_PROPERTIES_MODEL_PROVIDER, &provideModels},
#endif
#if defined(KELPIE_FOR_NEMO)
    {NEMO_TYPE_NAME_AND_DESC_PROVIDER, &provideNames},
#endif
  };
  for (const Interface& interface : interfaces) {
    const GInterfaceInfo filled = {interface.fill, nullptr, nullptr};
    g_type_module_add_interface(module, providerType, interface.type, &filled);
  }
}

}  // namespace
}  // namespace kelpie::filemanagers

// -- Entry points ---------------------------------------------------------------------------------

extern "C" {

// Called once, before anything else.
G_MODULE_EXPORT void HOST_FUNCTION(module_initialize)(GTypeModule* module) {
  kelpie::filemanagers::guarded("module_initialize",
                                [module] { kelpie::filemanagers::registerProvider(module); });
}

G_MODULE_EXPORT void HOST_FUNCTION(module_shutdown)(void) {}

// The types whose objects the file manager asks.
G_MODULE_EXPORT void HOST_FUNCTION(module_list_types)(const GType** types, int* count) {
  *types = &kelpie::filemanagers::providerType;
  *count = 1;
}

}  // extern "C"
