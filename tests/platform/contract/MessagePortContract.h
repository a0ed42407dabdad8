#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "platform/MessagePort.h"

namespace kelpie {

// Ports, and another process with one of its own. Main thread.
class MessagePortWorld {
 public:
  virtual ~MessagePortWorld() = default;
  virtual MessagePorts& ports() = 0;
  // A name that no other test has.
  virtual std::string name(std::string_view which) const = 0;
  // Sends to the port of that name, as one sender, whether it is there or not.
  virtual void deliver(const std::string& port, std::int32_t id, const Bytes& message) = 0;
  // The other process opens a port of that name, or closes it.
  virtual void listen(const std::string& port) = 0;
  virtual void stopListening(const std::string& port) = 0;
  // Whether a send says that the port is gone as soon as it is; where not, sends fail for another
  // reason until the system has noticed.
  virtual bool tellsAtOnceThatAPortIsGone() const { return true; }
  // The messages that came to the other process's ports, as "ID TEXT".
  virtual std::vector<std::string> arrived() = 0;
  // Lets messages be delivered until the condition holds; false when it does not.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class MessagePortContract : public testing::TestWithParam<std::unique_ptr<MessagePortWorld> (*)()> {
 protected:
  // A port that notes what arrives as "ID TEXT", and keeps back what is done until `finish()` when
  // `keepsBack`.
  std::unique_ptr<LocalMessagePort> open(const std::string& port);
  void finish();
  bool receives(std::size_t count) {
    return world->runUntil([&] { return received.size() >= count; });
  }

  // Closes the other process's port, and sends to it until the answer is that it is gone.
  void closeAndNotice(const std::string& name, RemoteMessagePort& remote);

  const std::unique_ptr<MessagePortWorld> world = GetParam()();
  const std::string port = world->name("port");
  std::vector<std::string> received;
  bool keepsBack = false;
  std::vector<LocalMessagePort::Completion> waiting;
};

}  // namespace kelpie
