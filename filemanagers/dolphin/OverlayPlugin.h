#pragma once

#include <KOverlayIconPlugin>
#include <QTimer>

#include "common/RecentLooks.h"

namespace kelpie::filemanagers {

// The emblems of Dolphin's items: it asks for each item that it shows and is told of those that
// look otherwise later. Main thread.
class OverlayPlugin : public KOverlayIconPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID "org.kelpie.Kelpie.OverlayPlugin" FILE "overlay.json")

 public:
  OverlayPlugin();
  ~OverlayPlugin() override;

  // The names of icons; none as long as nothing is known. Answers at once.
  QStringList getOverlays(const QUrl& item) override;

 private:
  void showChanged();

  RecentLooks looks_;
  QTimer changes_;
};

}  // namespace kelpie::filemanagers
