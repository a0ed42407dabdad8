#include "dolphin/OverlayPlugin.h"

#include "dolphin/DolphinExtension.h"
#include "dolphin/LocalUrl.h"
#include "qt/QtGuarded.h"

namespace kelpie::filemanagers {
namespace {

// How long, in one turn of the main loop, items are shown again.
constexpr std::chrono::milliseconds kSlice(2);

QStringList overlaysOf(const FileManagerSession::Look& look) {
  if (look.emblem.empty()) return {};
  return {QStringLiteral("emblem-") +
          QString::fromLatin1(look.emblem.data(), static_cast<int>(look.emblem.size()))};
}

QUrl urlOf(const std::string& path) {
  return QUrl::fromLocalFile(QFile::decodeName(QByteArray::fromStdString(path)));
}

}  // namespace

OverlayPlugin::OverlayPlugin() : looks_(DolphinExtension::instance().session()) {
  changes_.setInterval(0);
  connect(&changes_, &QTimer::timeout, this, [this] { showChanged(); });
  DolphinExtension::instance().setListeners([this] { changes_.start(); },
                                            [this] {
                                              looks_.foldersChanged();
                                              changes_.start();
                                            });
}

OverlayPlugin::~OverlayPlugin() { DolphinExtension::instance().setListeners({}, {}); }

QStringList OverlayPlugin::getOverlays(const QUrl& item) {
  QStringList overlays;
  qtGuarded("getOverlays", [&] {
    if (const auto path = localPathOf(item)) overlays = overlaysOf(looks_.show(*path));
  });
  return overlays;
}

// Dolphin asks again for each item that it is told of.
void OverlayPlugin::showChanged() {
  qtGuarded("show changed items", [this] {
    const auto end = HostClient::Clock::now() + kSlice;
    const auto again = [this](const std::string& path) {
      Q_EMIT overlaysChanged(urlOf(path), overlaysOf(looks_.show(path)));
    };
    while (looks_.showNext(again))
      if (HostClient::Clock::now() >= end) return;
    changes_.stop();
  });
}

}  // namespace kelpie::filemanagers
