#include "agent/ProtocolPeer.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>

#include "archive/KeyedUnarchiver.h"
#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"

namespace kelpie::agent {
namespace {

// How much of a foreign name is logged.
constexpr std::size_t kLongestLoggedName = 100;

// The path of a file URL that can be that of a folder.
std::optional<std::string> folderPath(const Object& object) {
  const std::optional<URL> url = object.url();
  if (!url || !url->isFileURL()) return std::nullopt;
  const std::string& path = url->path();
  if (!path.starts_with('/') || path.size() >= PATH_MAX || path.find('\0') != std::string::npos)
    return std::nullopt;
  return path;
}

}  // namespace

const ProtocolPeer::Route ProtocolPeer::kRoutes[] = {
    {selector::kPing, &ProtocolPeer::ping},
    {selector::kOpenRepository, &ProtocolPeer::openRepository},
    {selector::kUnshallowRepository, &ProtocolPeer::unshallowRepository},
    {selector::kShowError, &ProtocolPeer::showError},
    {selector::kCloneRepository, &ProtocolPeer::act},
    {selector::kCreateRepository, &ProtocolPeer::act},
};

bool ProtocolPeer::listen(MessagePorts& ports, std::string_view group) {
  port_ = ports.createLocal(std::string(group) + "." + std::string(kApplicationPortComponent),
                            [this](std::int32_t id, std::shared_ptr<const Bytes> message,
                                   const LocalMessagePort::Completion& done) {
                              receive(id, std::move(message));
                              done();
                            });
  return port_ != nullptr;
}

void ProtocolPeer::receive(std::int32_t id, std::shared_ptr<const Bytes> message) {
  const Object content = KeyedUnarchiver::open(std::move(message));
  if (!content.isDictionary()) return drop("a message that is no archived dictionary");
  switch (id) {
    case kActionMessage:
      return act(content, {});
    case kApplicationMessage:
      return selectorMessage(content);
    default:
      drop("a message with the id " + std::to_string(id));
  }
}

void ProtocolPeer::selectorMessage(const Object& message) {
  const std::string selector = message[kMessageSelectorKey].stringValue();
  const auto* route = std::ranges::find(kRoutes, selector, &Route::selector);
  if (route == std::end(kRoutes))
    return drop("the message \"" + selector.substr(0, kLongestLoggedName) + "\", which is unknown");
  (this->*route->call)(message, message[kMessageArgumentKey]);
}

// In answer the extension is served from now on. It may have been started anew under the name of a
// former one.
void ProtocolPeer::ping(const Object& message, const Object& argument) {
  const Object name = argument.isString() ? argument : message[kMessagePortNameKey];
  if (const auto port = services_.extensions.connect(name.stringValue()))
    services_.registry.pinged(port->name());
}

void ProtocolPeer::openRepository(const Object& message, const Object& argument) {
  const std::optional<std::string> folder = folderPath(argument[selector::kOpenUrlKey]);
  if (!folder) return drop("a request to open what is no folder");
  if (const auto port = sender(message))
    services_.registry.open(*folder, port, argument[selector::kOpenShallowKey].boolValue());
}

// The working copy may have been closed just now; another message tells the extension so.
void ProtocolPeer::unshallowRepository(const Object& message, const Object& argument) {
  const std::optional<FileIdentifier> identifier = FileIdentifier::fromObject(argument);
  if (!identifier) return drop("a request for the references of nothing");
  RepositorySession* const session = services_.registry.find(*identifier);
  if (session == nullptr) return;
  if (const auto port = sender(message)) session->unshallow(port);
}

void ProtocolPeer::showError(const Object& /*message*/, const Object& argument) {
  if (!services_.errors.show(argument)) drop("an error without a text");
}

void ProtocolPeer::act(const Object& message, const Object& /*argument*/) {
  const std::optional<FileIdentifier> target =
      FileIdentifier::fromObject(message[kMessageTargetKey]);
  services_.actions.handle(message, target ? services_.registry.find(*target) : nullptr);
}

std::shared_ptr<ExtensionPort> ProtocolPeer::sender(const Object& message) {
  return services_.extensions.connect(message[kMessagePortNameKey].stringValue());
}

void ProtocolPeer::drop(std::string_view what) {
  services_.log.write("port: " + std::string(what) + ", dropped");
}

}  // namespace kelpie::agent
