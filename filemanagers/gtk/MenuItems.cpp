#include "gtk/MenuItems.h"

#include <utility>

#if defined(KELPIE_HOST_HAS_WIDGETS)
#include <gtk/gtk.h>
#endif

#include "common/CommonFolder.h"
#include "glib/Guarded.h"
#include "gtk/Extension.h"

namespace kelpie::filemanagers {
namespace {

using Question = HostClient::MenuQuestion;

constexpr std::int64_t kItems = 0;
constexpr std::int64_t kContainer = 1;

// What an item stands for, as long as the file manager keeps it.
struct Choice {
  std::shared_ptr<const Question> question;
  std::shared_ptr<const ShownMenu> menu;  // owns the item
  const ShownItem* item;
};

void activated(HostMenuItem* /*item*/, gpointer data) {
  const auto* choice = static_cast<Choice*>(data);
  guarded("choose", [choice] { Extension::instance().choose(*choice->question, *choice->item); });
}

void letGo(gpointer data, GClosure* /*closure*/) {
  const std::unique_ptr<Choice> owner(static_cast<Choice*>(data));
}

HostMenuItem* newItem(const ShownItem& item) {
  return HOST_FUNCTION(menu_item_new)(item.name.c_str(), labelOf(item).c_str(), item.title.c_str(),
                                      item.image.empty() ? nullptr : item.image.c_str());
}

// Fills the file manager's menus with ours.
class MenuMaker {
 public:
  MenuMaker(const Question& question, std::shared_ptr<const ShownMenu> menu)
      : question_(std::make_shared<const Question>(question)), menu_(std::move(menu)) {}

  // One item with the whole menu below it; the caller's.
  HostMenuItem* root() const {
    HostMenuItem* root =
        HOST_FUNCTION(menu_item_new)("Kelpie-menu", "Git", "Git status and actions", "kelpie");
    addSubmenu(root, *menu_);
    return root;
  }

 private:
  void addSubmenu(HostMenuItem* above, const ShownMenu& items) const {
    const GObjectPtr<HOST_CLASS(Menu)> menu(HOST_FUNCTION(menu_new)());
    for (const ShownItem& item : items) {
      const GObjectPtr<HostMenuItem> made(newItem(item));
      g_object_set(made.get(), "sensitive", static_cast<gboolean>(item.isEnabled), nullptr);
      if (!item.submenu.empty()) addSubmenu(made.get(), item.submenu);
      // Opening a submenu activates the item above it as well, which stands for nothing.
      if (item.action && item.isEnabled) connect(made.get(), item);
      HOST_FUNCTION(menu_append_item)(menu.get(), made.get());
    }
    HOST_FUNCTION(menu_item_set_submenu)(above, menu.get());
  }

  void connect(HostMenuItem* made, const ShownItem& item) const {
    auto choice = std::make_unique<Choice>(Choice{question_, menu_, &item});
    g_signal_connect_data(made, "activate", G_CALLBACK(&activated), choice.release(), &letGo,
                          static_cast<GConnectFlags>(0));
  }

  std::shared_ptr<const Question> question_;
  std::shared_ptr<const ShownMenu> menu_;
};

// Whether the file manager asks because the user is opening a menu, and not because something was
// selected.
bool isMenuOpening() {
#if defined(KELPIE_HOST_HAS_WIDGETS)
  const std::unique_ptr<GdkEvent, decltype(&gdk_event_free)> event(gtk_get_current_event(),
                                                                   &gdk_event_free);
  if (!event) return false;
  guint button = 0;
  guint key = 0;
  if (gdk_event_get_button(event.get(), &button) != FALSE) return button == GDK_BUTTON_SECONDARY;
  if (gdk_event_get_keyval(event.get(), &key) != FALSE)
    return key == GDK_KEY_Menu || key == GDK_KEY_F10;
#endif
  return false;
}

GList* itemsFor(const std::optional<Question>& question) {
  if (!question) return nullptr;
  auto menu = Extension::instance().menu(*question, isMenuOpening());
  if (!menu || menu->empty()) return nullptr;
  return g_list_append(nullptr, MenuMaker(*question, std::move(menu)).root());
}

}  // namespace

GList* itemsForFiles(GList* files) {
  std::vector<HostClient::Place> places;
  for (const GList* entry = files; entry != nullptr; entry = entry->next) {
    auto* file = static_cast<HostFile*>(entry->data);
    auto path = localPathOf(file);
    if (!path || places.size() >= MenuCache::kMaximumSelection) return nullptr;
    places.push_back({*std::move(path), HOST_FUNCTION(file_info_is_directory)(file) != FALSE});
  }
  if (places.empty()) return nullptr;
  return itemsFor(Extension::instance().session().question(kItems, places, commonFolder(places)));
}

GList* itemsForGround(HostFile* folder) {
  const auto path = localPathOf(folder);
  if (!path) return nullptr;
#if !defined(KELPIE_HOST_HAS_WIDGETS)
  Extension::instance().session().visit(*path);
#endif
  return itemsFor(Extension::instance().session().question(kContainer, {}, path));
}

}  // namespace kelpie::filemanagers
