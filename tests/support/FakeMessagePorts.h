#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Object.h"
#include "platform/MessagePort.h"
#include "platform/SerialQueue.h"
#include "support/EventLog.h"

namespace kelpie {

// Ports whose other ends are the test. Writes "ports.local NAME", "ports.close NAME",
// "ports.remote NAME", "ports.release NAME" and, for each message that goes out, "send NAME ID
// SELECTOR" (an action message, which has no selector, bears the action of the menu item in it).
// Any thread, but for what MessagePorts itself restricts.
class FakeMessagePorts final : public MessagePorts {
 public:
  struct SentMessage {
    std::string port;
    std::int32_t id = 0;
    Bytes bytes;
    Object content;  // the archive's root object
    std::chrono::milliseconds sendTimeout{};
    std::chrono::milliseconds receiveTimeout{};
    std::int32_t status = RemoteMessagePort::kSuccess;  // what the sender was told
  };

  // Messages arrive in tasks of `mainQueue`.
  FakeMessagePorts(EventLog& events, std::shared_ptr<SerialQueue> mainQueue);
  ~FakeMessagePorts() override;

  // -- The other processes ------------------------------------------------------------------------

  // Whether somebody listens under that name; a port that is gone makes sends fail with kIsInvalid,
  // also when another one has its name.
  void setListening(std::string_view name, bool listening);
  // What the next sends return instead of kSuccess; they are recorded all the same.
  void failSends(std::int32_t status);
  // Makes createLocal() fail.
  void refuseLocal(bool refuse);

  // The process that sends from now on; 0 at first.
  void setSender(std::int32_t pid);
  // Sends a message to the port of that name: a sender's next is handed on when its former one is
  // done. Ignored when there is no such port.
  void deliver(std::string_view name, std::int32_t id, Bytes message);
  // The same, for the archive of `content`.
  void deliver(std::string_view name, std::int32_t id, const Object& content);

  // -- What was seen ------------------------------------------------------------------------------

  std::vector<SentMessage> sent() const;
  void forgetSent();
  std::vector<std::string> localNames() const;  // of the ports that are open, in order of opening
  std::size_t handledMessages() const;          // how many the handlers were called with
  std::size_t doneMessages() const;             // how many of these were reported to be done

  std::unique_ptr<LocalMessagePort> createLocal(std::string_view name,
                                                LocalMessagePort::Handler handler) override;
  std::shared_ptr<RemoteMessagePort> createRemote(std::string_view name) override;

 private:
  class Local;
  class Remote;
  struct Receiver;
  struct State;

  std::shared_ptr<State> state_;  // shared with the ports and the tasks, which may outlive this
};

}  // namespace kelpie
