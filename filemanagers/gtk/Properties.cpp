#include "gtk/Properties.h"

#include <string>

#if defined(KELPIE_HOST_HAS_WIDGETS)
#include <gtk/gtk.h>
#endif

#include "gtk/Extension.h"

namespace kelpie::filemanagers {
namespace {

constexpr const char* kStatus = "Git Status";

#if defined(KELPIE_HOST_HAS_WIDGETS)

GList* pagesOf(const FileManagerSession::Look& look) {
  GtkWidget* page = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
  gtk_container_set_border_width(GTK_CONTAINER(page), 12);
  const std::string icon = "emblem-" + std::string(look.emblem);
  GtkWidget* image = gtk_image_new_from_icon_name(icon.c_str(), GTK_ICON_SIZE_DND);
  GtkWidget* label = gtk_label_new(look.label.c_str());
  gtk_label_set_selectable(GTK_LABEL(label), TRUE);
  for (GtkWidget* child : {image, label}) {
    gtk_widget_set_valign(child, GTK_ALIGN_START);
    gtk_container_add(GTK_CONTAINER(page), child);
  }
  gtk_widget_show_all(page);
  GtkWidget* title = gtk_label_new("Git");
  gtk_widget_show(title);
  return g_list_append(nullptr, HOST_FUNCTION(property_page_new)("Kelpie-properties", title, page));
}

#else

GList* pagesOf(const FileManagerSession::Look& look) {
  GListStore* store = g_list_store_new(NAUTILUS_TYPE_PROPERTIES_ITEM);
  const GObjectPtr<NautilusPropertiesItem> item(
      nautilus_properties_item_new(kStatus, look.label.c_str()));
  g_list_store_append(store, item.get());
  // The model takes the list over.
  return g_list_append(nullptr, nautilus_properties_model_new("Git", G_LIST_MODEL(store)));
}

#endif

}  // namespace

GList* propertiesOf(GList* files) {
  if (files == nullptr || files->next != nullptr) return nullptr;
  const auto path = localPathOf(static_cast<HostFile*>(files->data));
  if (!path) return nullptr;
  const auto look = Extension::instance().session().look(*path);
  return look.label.empty() ? nullptr : pagesOf(look);
}

GList* statusColumns() {
  Extension::instance().columnsWanted();
  return g_list_append(
      nullptr, HOST_FUNCTION(column_new)("kelpie_status_column", Extension::kStatusAttribute,
                                         kStatus, "What git says of the file"));
}

}  // namespace kelpie::filemanagers
