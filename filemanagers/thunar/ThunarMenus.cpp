#include "thunar/ThunarMenus.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/CommonFolder.h"
#include "glib/Guarded.h"
#include "glib/LocalPath.h"
#include "thunar/ThunarExtension.h"

namespace kelpie::filemanagers {
namespace {

using Question = HostClient::MenuQuestion;

constexpr std::int64_t kItems = 0;
constexpr std::int64_t kContainer = 1;

// What an item stands for, as long as Thunar keeps it.
struct Choice {
  std::shared_ptr<const Question> question;
  std::shared_ptr<const ShownMenu> menu;  // owns the item
  const ShownItem* item;
};

void activated(ThunarxMenuItem* /*item*/, gpointer data) {
  const auto* choice = static_cast<Choice*>(data);
  guarded("choose",
          [choice] { ThunarExtension::instance().choose(*choice->question, *choice->item); });
}

void letGo(gpointer data, GClosure* /*closure*/) {
  const std::unique_ptr<Choice> owner(static_cast<Choice*>(data));
}

// Thunar draws all items as if they could be chosen. A title over a group is set off by dashes, and
// what can't be done now is left out: missing.
std::optional<std::string> labelInThunar(const ShownItem& item) {
  std::string label = labelOf(item);
  if (item.isEnabled || !item.submenu.empty()) return label;
  if (item.action) return std::nullopt;
  return "— " + label + " —";
}

// Fills Thunar's menus with ours.
class MenuMaker {
 public:
  MenuMaker(const Question& question, std::shared_ptr<const ShownMenu> menu)
      : question_(std::make_shared<const Question>(question)), menu_(std::move(menu)) {}

  // One item with the whole menu below it; the caller's.
  ThunarxMenuItem* root() const {
    ThunarxMenuItem* root =
        thunarx_menu_item_new("Kelpie-menu", "Git", "Git status and actions", "kelpie");
    addSubmenu(root, *menu_);
    return root;
  }

 private:
  void addSubmenu(ThunarxMenuItem* above, const ShownMenu& items) const {
    const GObjectPtr<ThunarxMenu> menu(thunarx_menu_new());
    for (const ShownItem& item : items) {
      const auto label = labelInThunar(item);
      if (!label) continue;
      const GObjectPtr<ThunarxMenuItem> made(
          thunarx_menu_item_new(item.name.c_str(), label->c_str(), item.title.c_str(),
                                item.image.empty() ? nullptr : item.image.c_str()));
      thunarx_menu_item_set_sensitive(made.get(), item.isEnabled ? TRUE : FALSE);
      if (!item.submenu.empty()) addSubmenu(made.get(), item.submenu);
      if (item.action && item.isEnabled) connect(made.get(), item);
      thunarx_menu_append_item(menu.get(), made.get());
    }
    thunarx_menu_item_set_menu(above, menu.get());
  }

  void connect(ThunarxMenuItem* made, const ShownItem& item) const {
    auto choice = std::make_unique<Choice>(Choice{question_, menu_, &item});
    g_signal_connect_data(made, "activate", G_CALLBACK(&activated), choice.release(), &letGo,
                          static_cast<GConnectFlags>(0));
  }

  std::shared_ptr<const Question> question_;
  std::shared_ptr<const ShownMenu> menu_;
};

// Whether Thunar asks because the user is opening a menu: it asks with each key that is pressed as
// well, to find out whose short cut that may be.
bool isMenuOpening() {
  const std::unique_ptr<GdkEvent, decltype(&gdk_event_free)> event(gtk_get_current_event(),
                                                                   &gdk_event_free);
  if (!event) return false;
  guint button = 0;
  guint key = 0;
  if (gdk_event_get_button(event.get(), &button) != FALSE) return true;
  if (gdk_event_get_keyval(event.get(), &key) != FALSE)
    return key == GDK_KEY_Menu || key == GDK_KEY_F10;
  return false;
}

std::optional<std::string> pathOf(ThunarxFileInfo* file) {
  const GObjectPtr<GFile> location(thunarx_file_info_get_location(file));
  return localPathOf(location.get());
}

GList* itemsFor(const std::optional<Question>& question) {
  if (!question) return nullptr;
  auto menu = ThunarExtension::instance().menu(*question, isMenuOpening());
  if (!menu || menu->empty()) return nullptr;
  return g_list_append(nullptr, MenuMaker(*question, std::move(menu)).root());
}

}  // namespace

GList* itemsForFiles(GList* files) {
  std::vector<HostClient::Place> places;
  for (const GList* entry = files; entry != nullptr; entry = entry->next) {
    auto* file = THUNARX_FILE_INFO(entry->data);
    auto path = pathOf(file);
    if (!path || places.size() >= MenuCache::kMaximumSelection) return nullptr;
    places.push_back({*std::move(path), thunarx_file_info_is_directory(file) != FALSE});
  }
  if (places.empty()) return nullptr;
  auto& session = ThunarExtension::instance().session();
  return itemsFor(session.question(kItems, places, commonFolder(places)));
}

GList* itemsForGround(ThunarxFileInfo* folder) {
  const auto path = pathOf(folder);
  if (!path) return nullptr;
  return itemsFor(ThunarExtension::instance().session().question(kContainer, {}, path));
}

}  // namespace kelpie::filemanagers
