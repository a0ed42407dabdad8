/* An extension of a GTK file manager that knows everything beforehand and says it at once: what the
   file manager itself takes to ask for emblems and to draw them. Built by bench/file_managers.py.
 */

#include <gio/gio.h>

#if defined(HOST_NEMO)
#include <libnemo-extension/nemo-file-info.h>
#include <libnemo-extension/nemo-info-provider.h>
#define HOST(name) nemo_##name
#define TYPE(name) Nemo##name
#define INTERFACE NemoInfoProviderInterface
#define PROVIDER NEMO_TYPE_INFO_PROVIDER
#define COMPLETE NEMO_OPERATION_COMPLETE
#else
#include <libcaja-extension/caja-file-info.h>
#include <libcaja-extension/caja-info-provider.h>
#define HOST(name) caja_##name
#define TYPE(name) Caja##name
#define INTERFACE CajaInfoProviderIface
#define PROVIDER CAJA_TYPE_INFO_PROVIDER
#define COMPLETE CAJA_OPERATION_COMPLETE
#endif

static GType provider_type;

static TYPE(OperationResult) update(TYPE(InfoProvider) * provider, TYPE(FileInfo) * file,
                                    GClosure* complete, TYPE(OperationHandle) * *handle) {
  (void)provider, (void)complete, (void)handle;
  HOST(file_info_add_emblem)(file, "kelpie-current");
  return COMPLETE;
}

static void cancel(TYPE(InfoProvider) * provider, TYPE(OperationHandle) * handle) {
  (void)provider, (void)handle;
}

static void fill(gpointer interface, gpointer data) {
  (void)data;
  ((INTERFACE*)interface)->update_file_info = update;
  ((INTERFACE*)interface)->cancel_update = cancel;
}

void HOST(module_initialize)(GTypeModule* module) {
  const GTypeInfo info = {.class_size = sizeof(GObjectClass), .instance_size = sizeof(GObject)};
  const GInterfaceInfo filled = {fill, NULL, NULL};
  provider_type = g_type_module_register_type(module, G_TYPE_OBJECT, "FloorProvider", &info, 0);
  g_type_module_add_interface(module, provider_type, PROVIDER, &filled);
}

void HOST(module_shutdown)(void) {}

void HOST(module_list_types)(const GType** types, int* count) {
  *types = &provider_type;
  *count = 1;
}
