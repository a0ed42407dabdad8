#include "gtk/LocationBar.h"

#if defined(KELPIE_HOST_HAS_WIDGETS)
#include <string>
#include <utility>

#include "glib/Guarded.h"
#include "gtk/Extension.h"

namespace kelpie::filemanagers {
namespace {

constexpr std::int64_t kToolbar = 3;

// What a menu item stands for.
struct ToolbarChoice {
  HostClient::MenuQuestion question;
  ShownItem item;
};

void toolbarItemActivated(GtkMenuItem* /*item*/, gpointer data) {
  const auto* choice = static_cast<ToolbarChoice*>(data);
  guarded("choose in the toolbar",
          [choice] { Extension::instance().choose(choice->question, choice->item); });
}

void letGoOfToolbarChoice(gpointer data, GClosure* /*closure*/) {
  const std::unique_ptr<ToolbarChoice> owner(static_cast<ToolbarChoice*>(data));
}

GtkWidget* newMenu(const HostClient::MenuQuestion& question, const ShownMenu& items);

// The widget that shows the item, without what it does.
GtkWidget* newItemWidget(const ShownItem& item) {
  if (item.isTicked) {
    GtkWidget* widget = gtk_check_menu_item_new_with_label(item.title.c_str());
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(widget), TRUE);
    return widget;
  }
  if (item.image.empty()) return gtk_menu_item_new_with_label(item.title.c_str());
  GtkWidget* widget = gtk_image_menu_item_new_with_label(item.title.c_str());
  const GObjectPtr<GIcon> icon(
      g_file_icon_new(GObjectPtr<GFile>(g_file_new_for_path(item.image.c_str())).get()));
  gtk_image_menu_item_set_image(GTK_IMAGE_MENU_ITEM(widget),
                                gtk_image_new_from_gicon(icon.get(), GTK_ICON_SIZE_MENU));
  return widget;
}

GtkWidget* newMenuItem(const HostClient::MenuQuestion& question, const ShownItem& item) {
  GtkWidget* widget = newItemWidget(item);
  gtk_widget_set_sensitive(widget, static_cast<gboolean>(item.isEnabled));
  if (!item.submenu.empty()) {
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(widget), newMenu(question, item.submenu));
  } else if (item.action) {
    auto choice = std::make_unique<ToolbarChoice>(ToolbarChoice{question, item});
    g_signal_connect_data(widget, "activate", G_CALLBACK(&toolbarItemActivated), choice.release(),
                          &letGoOfToolbarChoice, static_cast<GConnectFlags>(0));
  }
  return widget;
}

GtkWidget* newMenu(const HostClient::MenuQuestion& question, const ShownMenu& items) {
  GtkWidget* menu = gtk_menu_new();
  for (const ShownItem& item : items)
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), newMenuItem(question, item));
  gtk_widget_show_all(menu);
  return menu;
}

// Lives as long as its widget.
class LocationBar : public Extension::FolderListener {
 public:
  explicit LocationBar(std::string folder) : folder_(std::move(folder)) {
    extension_.session().enter(folder_);
    extension_.addListener(this);
  }
  ~LocationBar() override {
    extension_.removeListener(this);
    extension_.session().leave(folder_);
  }
  LocationBar(const LocationBar&) = delete;
  LocationBar& operator=(const LocationBar&) = delete;

  // Makes the widget, which owns the bar.
  static GtkWidget* make(std::string folder) {
    auto bar = std::make_unique<LocationBar>(std::move(folder));
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    // The file manager shows all of what it is given.
    gtk_widget_set_no_show_all(box, TRUE);
    bar->box_ = box;
    bar->foldersChanged();
    g_object_weak_ref(G_OBJECT(box), &LocationBar::boxGone, bar.release());
    return box;
  }

  // The button is made when there is something to be seen of it: that takes some milliseconds the
  // first time, in which a window would not open.
  void foldersChanged() override {
    const bool isObserved = extension_.session().isObserved(folder_);
    if (isObserved && !std::exchange(hasButton_, true))
      gtk_box_pack_end(GTK_BOX(box_), newButton(*this), FALSE, FALSE, 0);
    gtk_widget_set_visible(box_, static_cast<gboolean>(isObserved));
  }

 private:
  static GtkWidget* newButton(LocationBar& bar) {
    GtkWidget* button = gtk_button_new();
    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    gtk_container_add(GTK_CONTAINER(content),
                      gtk_image_new_from_icon_name("kelpie", GTK_ICON_SIZE_MENU));
    gtk_container_add(GTK_CONTAINER(content), gtk_label_new("Git"));
    gtk_container_add(GTK_CONTAINER(content),
                      gtk_image_new_from_icon_name("pan-down-symbolic", GTK_ICON_SIZE_MENU));
    gtk_container_add(GTK_CONTAINER(button), content);
    gtk_button_set_relief(GTK_BUTTON(button), GTK_RELIEF_NONE);
    gtk_widget_set_tooltip_text(button, "Git status and actions of this folder");
    atk_object_set_name(gtk_widget_get_accessible(button), "Git");
    gtk_widget_show_all(button);
    g_signal_connect(button, "clicked", G_CALLBACK(&LocationBar::clicked), &bar);
    return button;
  }

  static void clicked(GtkButton* button, gpointer self) {
    guarded("open the toolbar menu", [&] {
      auto* bar = static_cast<LocationBar*>(self);
      const auto question = bar->extension_.session().question(kToolbar, {}, bar->folder_);
      if (!question) return;
      const auto menu = bar->extension_.menu(*question, true);
      if (!menu || menu->empty()) return;
      GtkWidget* widget = newMenu(*question, *menu);
      gtk_menu_attach_to_widget(GTK_MENU(widget), GTK_WIDGET(button), nullptr);
      // Chosen is after the menu has closed.
      g_signal_connect(widget, "selection-done", G_CALLBACK(&gtk_widget_destroy), nullptr);
      gtk_menu_popup_at_widget(GTK_MENU(widget), GTK_WIDGET(button), GDK_GRAVITY_SOUTH_EAST,
                               GDK_GRAVITY_NORTH_EAST, nullptr);
    });
  }

  static void boxGone(gpointer self, GObject* /*box*/) {
    guarded("leave",
            [self] { const std::unique_ptr<LocationBar> owner(static_cast<LocationBar*>(self)); });
  }

  Extension& extension_ = Extension::instance();
  std::string folder_;
  GtkWidget* box_ = nullptr;  // the bar goes with it
  bool hasButton_ = false;
};

}  // namespace

GtkWidget* newLocationBar(const char* uri) {
  auto folder = localPathOfUri(uri);
#if defined(KELPIE_FOR_CAJA)
  // Caja makes room for a widget also when there is nothing to be seen of it.
  auto& session = Extension::instance().session();
  if (folder && session.client().isReady() && !session.isObserved(*folder)) return nullptr;
#endif
  return folder ? LocationBar::make(*std::move(folder)) : nullptr;
}

}  // namespace kelpie::filemanagers
#endif
