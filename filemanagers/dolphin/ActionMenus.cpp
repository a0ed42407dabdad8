#include "dolphin/ActionMenus.h"

#include <QAction>
#include <QFile>
#include <QIcon>

#include <memory>
#include <utility>

#include "qt/QtGuarded.h"

namespace kelpie::filemanagers {
namespace {

using SharedMenu = std::shared_ptr<const DolphinExtension::Menu>;

// Qt takes "&" for the mark of a mnemonic.
QString titleOf(const ShownItem& item) {
  return QString::fromStdString(item.title).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void fill(QMenu* menu, const ShownMenu& items, const SharedMenu& shown);

// The submenu of the item, empty until it is opened.
void addSubmenu(QAction* action, QMenu* above, const ShownItem& item, const SharedMenu& shown) {
  auto* submenu = std::make_unique<QMenu>(above).release();
  // `shown` owns the item.
  QObject::connect(submenu, &QMenu::aboutToShow, submenu, [submenu, &item, shown] {
    qtGuarded("open submenu", [&] {
      if (submenu->isEmpty()) fill(submenu, item.submenu, shown);
    });
  });
  action->setMenu(submenu);
}

void fill(QMenu* menu, const ShownMenu& items, const SharedMenu& shown) {
  for (const ShownItem& item : items) {
    QAction* action = menu->addAction(titleOf(item));
    action->setObjectName(QString::fromStdString(item.name));
    if (!item.image.empty())
      action->setIcon(QIcon(QFile::decodeName(QByteArray::fromStdString(item.image))));
    action->setCheckable(item.isTicked);
    action->setChecked(item.isTicked);
    action->setEnabled(item.isEnabled);
    if (!item.submenu.empty()) addSubmenu(action, menu, item, shown);
    if (!item.action || !item.isEnabled) continue;
    QObject::connect(action, &QAction::triggered, menu, [&item, shown] {
      qtGuarded("choose", [&] { DolphinExtension::instance().choose(shown->question, item); });
    });
  }
}

}  // namespace

QMenu* newMenu(const DolphinExtension::Menu& menu, QWidget* parent) {
  auto* made = std::make_unique<QMenu>(QStringLiteral("Git"), parent).release();
  made->setIcon(QIcon::fromTheme(QStringLiteral("kelpie")));
  const auto shown = std::make_shared<const DolphinExtension::Menu>(menu);
  fill(made, *shown->items, shown);
  return made;
}

}  // namespace kelpie::filemanagers
