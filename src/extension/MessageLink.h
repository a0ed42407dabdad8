#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Dictionary.h"
#include "foundation/Mutex.h"
#include "platform/Platform.h"

namespace kelpie {

// The two ends of the link with the main application. Failures are reported to the user by the main
// application, which is told through the sending port or, if that has failed, through a distributed
// notification. Shared by the controller and the work on the observer queue.
class MessageLink {
 public:
  explicit MessageLink(const Platform& platform) : platform_(platform) {}

  // Opens the receiving port, under a name of the application group and this process's id, and
  // keeps its name. Null when that fails, which is then reported to the user. Main thread.
  std::unique_ptr<LocalMessagePort> setupMessageListener(LocalMessagePort::Handler handler);

  // Sends one message, with the receiving port's name added. Opens the sending port if there is
  // none; keeps it when the send fails. A failure is reported, and not retried. Any thread; blocks
  // for at most the time-outs, of a second each, and holds no lock meanwhile.
  void sendMessage(const Dictionary& message, std::int32_t id);
  // The content of a selector message. Raises std::invalid_argument for a nil argument.
  static Dictionary selectorMessage(std::string_view selector, const Object& argument);
  // Sends such a message (kApplicationMessage). Raises as selectorMessage() does.
  void sendSelector(std::string_view selector, const Object& argument);

  // The sending port; null until first needed. Any thread.
  std::shared_ptr<RemoteMessagePort> port() const;
  // Null lets the port go; the next send opens a new one.
  void setPort(std::shared_ptr<RemoteMessagePort> port);

  // Absent while there is no receiving port. Any thread.
  std::optional<std::string> portName() const;
  void setPortName(std::optional<std::string> name);

 private:
  std::shared_ptr<RemoteMessagePort> sendingPort();
  void showReceivingError(std::string_view suggestion);
  void showSendingError(std::string_view suggestion);

  const Platform platform_;
  mutable Mutex mutex_;  // never held while a port is asked for anything
  std::shared_ptr<RemoteMessagePort> port_ KELPIE_GUARDED_BY(mutex_);
  std::uint64_t portChanges_ KELPIE_GUARDED_BY(mutex_) = 0;  // how often port_ was set
  std::optional<std::string> portName_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
