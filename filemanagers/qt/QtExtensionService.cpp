#include "qt/QtExtensionService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

#include <memory>
#include <utility>

#include "Configuration.h"
#include "qt/QtGuarded.h"

namespace kelpie::filemanagers {
namespace {

// In milliseconds. The bus itself gives a service that it starts 25 seconds at most.
constexpr int kStartLimit = 30'000;

QString extensionName() {
  return QString::fromLatin1(kExtensionIdentifier.data(),
                             static_cast<int>(kExtensionIdentifier.size()));
}

// Calls without waiting. `ended` gets what went wrong, or nothing, from the main loop.
void call(const QDBusMessage& message, QObject* owner,
          std::function<void(const std::string& problem)> ended) {
  const QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(message, kStartLimit);
  auto* watcher = std::make_unique<QDBusPendingCallWatcher>(pending, owner).release();
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                   [watcher, ended = std::move(ended)] {
                     qtGuarded("answer of the bus", [&] {
                       watcher->deleteLater();
                       const QDBusError error = watcher->error();
                       ended(error.isValid() ? error.message().toStdString() : std::string());
                     });
                   });
}

}  // namespace

QtExtensionService::QtExtensionService(std::function<void()> onAppeared)
    : watcher_(extensionName(), QDBusConnection::sessionBus(),
               QDBusServiceWatcher::WatchForRegistration) {
  QObject::connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, &calls_,
                   [onAppeared = std::move(onAppeared)] { qtGuarded("appeared", onAppeared); });
}

void QtExtensionService::start(std::function<void(const std::string& problem)> done) {
  QDBusMessage message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("StartServiceByName"));
  message << extensionName() << 0U;
  call(message, &calls_, std::move(done));
}

void QtExtensionService::notify(const std::string& title, const std::string& text) {
  qCInfo(kelpieLog, "%s: %s", title.c_str(), text.c_str());
  QDBusMessage message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.Notifications"),
      QStringLiteral("/org/freedesktop/Notifications"),
      QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
  // The text is shown as it is: what looks like markup in a name is none.
  message << QStringLiteral("Kelpie") << 0U << QStringLiteral("kelpie")
          << QString::fromStdString(title) << QString::fromStdString(text).toHtmlEscaped()
          << QStringList() << QVariantMap() << -1;
  call(message, &calls_, [](const std::string& problem) {
    if (!problem.empty()) qCDebug(kelpieLog, "no notification: %s", problem.c_str());
  });
}

}  // namespace kelpie::filemanagers
