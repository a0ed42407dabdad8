#include "dolphin/ActionsPlugin.h"

#include <KFileItem>
#include <KFileItemListProperties>
#include <KPluginFactory>
#include <QAction>

#include <utility>
#include <vector>

#include "dolphin/ActionMenus.h"
#include "dolphin/LocalUrl.h"
#include "qt/QtGuarded.h"

namespace kelpie::filemanagers {
namespace {

// Empty when one of them is not local, or when there are too many.
std::vector<HostClient::Place> placesOf(const KFileItemListProperties& selection) {
  std::vector<HostClient::Place> places;
  const KFileItemList items = selection.items();
  if (static_cast<std::size_t>(items.size()) > MenuCache::kMaximumSelection) return {};
  for (const KFileItem& item : items) {
    auto path = localPathOf(item.url());
    if (!path) return {};
    places.push_back({*std::move(path), item.isDir() && !item.isLink()});
  }
  return places;
}

}  // namespace

ActionsPlugin::ActionsPlugin(QObject* parent, const QVariantList& /*arguments*/)
    : KAbstractFileItemActionPlugin(parent) {
  qtGuarded("new plug-in", [] { DolphinExtension::instance(); });
}

QList<QAction*> ActionsPlugin::actions(const KFileItemListProperties& selection, QWidget* widget) {
  QList<QAction*> actions;
  qtGuarded("actions", [&] {
    if (menu_) menu_->deleteLater();
    const auto places = placesOf(selection);
    if (places.empty()) return;
    const auto menu = DolphinExtension::instance().menu(places);
    if (!menu) return;
    menu_ = newMenu(*menu, widget);
    actions.append(menu_->menuAction());
  });
  return actions;
}

}  // namespace kelpie::filemanagers

// The macro takes no name with a namespace.
using kelpie::filemanagers::ActionsPlugin;  // NOLINT(google-global-names-in-headers)

K_PLUGIN_CLASS_WITH_JSON(ActionsPlugin, "actions.json")

#include "ActionsPlugin.moc"
