#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "foundation/Bytes.h"
#include "foundation/Object.h"

namespace kelpie {

// The receiving end of a named port. Messages arrive on the main thread for as long as it lives.
class LocalMessagePort {
 public:
  // Must be called once for each message, on any thread, when the message has taken effect: the
  // port may keep back the next message of the same sender until then. It never waits for it.
  using Completion = std::function<void()>;
  // Main thread. No answer is sent to any message.
  using Handler =
      std::function<void(std::int32_t id, std::shared_ptr<const Bytes> message, Completion done)>;

  virtual ~LocalMessagePort() = default;
  // The process has ended: what it has sent and the handler has not been called with is dropped.
  // Main queue. Does nothing where the system does not tell whose a message is.
  virtual void dropMessagesOf(std::int32_t /*pid*/) {}
};

// The sending end of a port that another process has opened. Any thread; sends from several
// threads go out one after the other, whole.
class RemoteMessagePort {
 public:
  static constexpr std::int32_t kSuccess = 0;
  static constexpr std::int32_t kSendTimeout = -1;
  static constexpr std::int32_t kIsInvalid = -3;       // the other end is gone
  static constexpr std::int32_t kTransportError = -4;  // any other fault

  virtual ~RemoteMessagePort() = default;
  // kSuccess, or why the message did not go out. Blocks for at most `sendTimeout` and, where the
  // platform waits for the other end, `receiveTimeout`; asks for no answer and runs no handler
  // meanwhile.
  virtual std::int32_t send(std::int32_t id, const Bytes& message,
                            std::chrono::milliseconds sendTimeout,
                            std::chrono::milliseconds receiveTimeout) = 0;
};

// Opens ports by name.
class MessagePorts {
 public:
  virtual ~MessagePorts() = default;
  // Main thread. Null when the name is taken, too long, or the port cannot be made.
  virtual std::unique_ptr<LocalMessagePort> createLocal(std::string_view name,
                                                        LocalMessagePort::Handler handler) = 0;
  // Any thread; never blocks. Null when nobody listens under that name.
  virtual std::shared_ptr<RemoteMessagePort> createRemote(std::string_view name) = 0;
  // The keyed archive of a message that is to go out: the core's own, unless the platform has an
  // archiver that its programs know better. Any thread. Absent when the message cannot be archived.
  virtual std::optional<Bytes> archivedMessage(const Object& message) const;
};

}  // namespace kelpie
