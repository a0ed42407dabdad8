#include "thunar/OpenWindows.h"

#include <utility>

#include "glib/Guarded.h"
#include "glib/LocalPath.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::filemanagers {
namespace {

constexpr const char* kFolderProperty = "current-directory";

}  // namespace

OpenWindows::OpenWindows(Handlers handlers) : handlers_(std::move(handlers)) {
  GApplication* application = g_application_get_default();
  if (application == nullptr || !GTK_IS_APPLICATION(application)) return;
  g_signal_connect(application, "window-added", G_CALLBACK(&OpenWindows::added), this);
  for (const GList* entry = gtk_application_get_windows(GTK_APPLICATION(application));
       entry != nullptr; entry = entry->next)
    add(static_cast<GtkWindow*>(entry->data));
}

void OpenWindows::added(GtkApplication* /*application*/, GtkWindow* window, gpointer self) {
  guarded("window added", [&] { static_cast<OpenWindows*>(self)->add(window); });
}

void OpenWindows::add(GtkWindow* window) {
  auto* object = G_OBJECT(window);
  if (folders_.contains(object)) return;
  const auto* property = g_object_class_find_property(G_OBJECT_GET_CLASS(object), kFolderProperty);
  if (property == nullptr || !g_type_is_a(property->value_type, G_TYPE_OBJECT)) return;
  folders_.emplace(object, std::string());
  g_object_weak_ref(object, &OpenWindows::gone, this);
  const std::string signal = std::string("notify::") + kFolderProperty;
  g_signal_connect(object, signal.c_str(), G_CALLBACK(&OpenWindows::folderChanged), this);
  look(object);
}

void OpenWindows::folderChanged(GObject* window, GParamSpec* /*property*/, gpointer self) {
  guarded("folder changed", [&] { static_cast<OpenWindows*>(self)->look(window); });
}

void OpenWindows::look(GObject* window) {
  GObject* value = nullptr;
  g_object_get(window, kFolderProperty, &value, nullptr);
  if (value == nullptr) return go(window, {});
  const GObjectPtr<GObject> folder(value);
  if (!THUNARX_IS_FILE_INFO(value)) return go(window, {});
  const GObjectPtr<GFile> location(thunarx_file_info_get_location(THUNARX_FILE_INFO(value)));
  go(window, localPathOf(location.get()).value_or(std::string()));
}

void OpenWindows::go(GObject* window, const std::string& folder) {
  const auto found = folders_.find(window);
  if (found == folders_.end() || found->second == folder) return;
  const std::string left = std::exchange(found->second, folder);
  if (!folder.empty()) handlers_.onEnter(folder);
  if (!left.empty()) handlers_.onLeave(left);
}

void OpenWindows::gone(gpointer self, GObject* window) {
  guarded("window gone", [&] {
    auto* windows = static_cast<OpenWindows*>(self);
    windows->go(window, {});
    windows->folders_.erase(window);
  });
}

}  // namespace kelpie::filemanagers
