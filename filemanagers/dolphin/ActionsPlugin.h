#pragma once

#include <KAbstractFileItemActionPlugin>
#include <QMenu>
#include <QPointer>
#include <QVariantList>

#include <memory>

#include "dolphin/DolphinExtension.h"

namespace kelpie::filemanagers {

// The git menu in Dolphin's menu of items. Main thread.
class ActionsPlugin : public KAbstractFileItemActionPlugin {
  Q_OBJECT

 public:
  ActionsPlugin(QObject* parent, const QVariantList& arguments);

  // One item with our menu below it, or none. The item lives until the next menu is made or the
  // widget goes.
  QList<QAction*> actions(const KFileItemListProperties& selection, QWidget* widget) override;

 private:
  QPointer<QMenu> menu_;  // of the last selection; the widget's
};

}  // namespace kelpie::filemanagers
