#include "extension/MessageLink.h"

#include <chrono>
#include <utility>

#include "extension/AppMessage.h"
#include "foundation/Error.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"
#include "settings/ApplicationGroup.h"

namespace kelpie {

namespace {

constexpr std::chrono::milliseconds kSendTimeout{1000};
constexpr std::chrono::milliseconds kReceiveTimeout{1000};

// Why there is no application group to name the receiving port with.
constexpr struct {
  ApplicationGroup::Failure failure;
  std::string_view text;
} kGroupErrors[] = {
    {ApplicationGroup::Failure::NoTask,
     "There was an error creating security task for Finder extension."},
    {ApplicationGroup::Failure::NoEntitlement,
     "There was an error getting application groups security entitlement."},
    {ApplicationGroup::Failure::NoElement, "Application groups security entitlement is empty."},
    {ApplicationGroup::Failure::NoString,
     "Application groups security entitlement is of unknown type."},
};
constexpr std::string_view kReceivingPortError =
    "There was an error creating receiving communication port.";
constexpr std::string_view kReceivingDescription =
    "Finder extension failed to receive message from application";

constexpr std::string_view kSendingPortError =
    "There was an error creating sending communication port.";
constexpr std::string_view kArchivingError = "There was an error archiving message for sending.";
constexpr std::string_view kSendingError =
    "There was an error sending message to application, status ";

std::string_view failureText(ApplicationGroup::Failure failure) {
  for (const auto& row : kGroupErrors)
    if (row.failure == failure) return row.text;
  return kReceivingPortError;
}

std::string joined(std::string_view group, std::string_view component) {
  return std::string(group) + '.' + std::string(component);
}

}  // namespace

std::unique_ptr<LocalMessagePort> MessageLink::setupMessageListener(
    LocalMessagePort::Handler handler) {
  const ApplicationGroup group = ApplicationGroup::read(platform_.entitlements);
  if (group.failure != ApplicationGroup::Failure::None) {
    showReceivingError(failureText(group.failure));
    return nullptr;
  }
  std::string name = joined(joined(group.name, kExtensionPortComponent),
                            std::to_string(platform_.applications.currentProcessIdentifier()));
  std::unique_ptr<LocalMessagePort> port =
      platform_.messagePorts.createLocal(name, std::move(handler));
  if (port == nullptr) {
    showReceivingError(kReceivingPortError);
    return nullptr;
  }
  setPortName(std::move(name));
  return port;
}

void MessageLink::sendMessage(const Dictionary& message, std::int32_t id) {
  const std::shared_ptr<RemoteMessagePort> port = sendingPort();
  if (port == nullptr) {
    showSendingError(kSendingPortError);
    return;
  }
  Dictionary addressed = message;
  if (const std::optional<std::string> name = portName()) addressed.set(kMessagePortNameKey, *name);
  const std::optional<Bytes> archive = platform_.messagePorts.archivedMessage(std::move(addressed));
  if (!archive) {
    showSendingError(kArchivingError);
    return;
  }
  const std::int32_t status = port->send(id, *archive, kSendTimeout, kReceiveTimeout);
  if (status != RemoteMessagePort::kSuccess)
    showSendingError(std::string(kSendingError) + std::to_string(status) + '.');
}

Dictionary MessageLink::selectorMessage(std::string_view selector, const Object& argument) {
  return {{kMessageSelectorKey, selector}, {kMessageArgumentKey, argument}};
}

void MessageLink::sendSelector(std::string_view selector, const Object& argument) {
  sendMessage(selectorMessage(selector, argument), kApplicationMessage);
}

// A port that was let go while a new one was being opened must not come back: it may lead to an
// application that is gone, and a port that is held is never tried anew.
std::shared_ptr<RemoteMessagePort> MessageLink::sendingPort() {
  std::uint64_t changes = 0;
  {
    const MutexLock lock(mutex_);
    if (port_ != nullptr) return port_;
    changes = portChanges_;
  }
  const ApplicationGroup group = ApplicationGroup::read(platform_.entitlements);
  if (group.failure != ApplicationGroup::Failure::None) return nullptr;
  std::shared_ptr<RemoteMessagePort> port =
      platform_.messagePorts.createRemote(joined(group.name, kApplicationPortComponent));
  const MutexLock lock(mutex_);
  if (changes == portChanges_ && port_ == nullptr) port_ = port;
  return port;
}

std::shared_ptr<RemoteMessagePort> MessageLink::port() const {
  const MutexLock lock(mutex_);
  return port_;
}

void MessageLink::setPort(std::shared_ptr<RemoteMessagePort> port) {
  // The former port closes as `port` goes, after the lock.
  const MutexLock lock(mutex_);
  port_.swap(port);
  ++portChanges_;
}

std::optional<std::string> MessageLink::portName() const {
  const MutexLock lock(mutex_);
  return portName_;
}

void MessageLink::setPortName(std::optional<std::string> name) {
  const MutexLock lock(mutex_);
  portName_ = std::move(name);
}

void MessageLink::showReceivingError(std::string_view suggestion) {
  sendSelector(selector::kShowError,
               Error{std::string(kGitErrorDomain), -1,
                     Dictionary{{kLocalizedDescriptionKey, kReceivingDescription},
                                {kLocalizedRecoverySuggestionErrorKey, suggestion}}});
}

void MessageLink::showSendingError(std::string_view suggestion) {
  platform_.notifications.post(kAppMessageNotification, appMessage(suggestion));
}

}  // namespace kelpie
