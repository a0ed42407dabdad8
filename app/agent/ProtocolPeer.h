#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "agent/link/ActionHandler.h"
#include "agent/link/ExtensionErrors.h"
#include "agent/link/ExtensionPorts.h"
#include "agent/sessions/RepositoryRegistry.h"
#include "foundation/Object.h"
#include "platform/Log.h"
#include "platform/MessagePort.h"

namespace kelpie::agent {

// The main application's end of the message link: receives the extensions' messages and hands each
// to the part that it concerns. Anything but a message, and an unknown request, costs one log line.
// Main thread.
class ProtocolPeer {
 public:
  // The parts that it works with; all outlive it.
  struct Services {
    Log& log;
    ExtensionPorts& extensions;
    RepositoryRegistry& registry;
    ActionHandler& actions;
    ExtensionErrors& errors;
  };

  explicit ProtocolPeer(const Services& services) : services_(services) {}
  ProtocolPeer(const ProtocolPeer&) = delete;
  ProtocolPeer& operator=(const ProtocolPeer&) = delete;
  ~ProtocolPeer() = default;

  // Opens the port "<group>.App". False when that cannot be made, such as while another
  // application has it.
  bool listen(MessagePorts& ports, std::string_view group);

  // Handles one message.
  void receive(std::int32_t id, std::shared_ptr<const Bytes> message);

 private:
  struct Route {
    std::string_view selector;
    void (ProtocolPeer::*call)(const Object& message, const Object& argument);
  };
  static const Route kRoutes[];

  void selectorMessage(const Object& message);
  void ping(const Object& message, const Object& argument);
  void openRepository(const Object& message, const Object& argument);
  void unshallowRepository(const Object& message, const Object& argument);
  void showError(const Object& message, const Object& argument);
  void act(const Object& message, const Object& argument);
  // The extension that sent the message; null, after a log line, when it cannot be answered.
  std::shared_ptr<ExtensionPort> sender(const Object& message);
  void drop(std::string_view what);

  Services services_;
  std::unique_ptr<LocalMessagePort> port_;
};

}  // namespace kelpie::agent
