#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "agent/link/RepositoryMessages.h"
#include "foundation/ThreadBound.h"
#include "linux/base/EventLoop.h"
#include "platform/MessagePort.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// The sending port to one running extension. Messages go out in order, on a queue of their own, so
// that an extension that does not read delays nothing else. A newer message about the same matter
// replaces one that still waits, so that the queue stays small; the same one keeps its place. Main
// thread.
class ExtensionPort : public std::enable_shared_from_this<ExtensionPort> {
 public:
  // The matter of a message: a working copy, by a number of its own, a selector, and possibly one
  // of its folders. Messages about a folder are sent after all those about the working copy, which
  // the extension must know by then.
  struct Matter {
    std::uint64_t repository = 0;
    std::string_view selector;  // of static storage
    std::string folder{};

    friend bool operator==(const Matter&, const Matter&) = default;
  };

  struct Services {
    EventLoop& loop;
    SerialQueues& queues;
    MessagePorts& ports;
  };
  struct Callbacks {
    // Nobody listens any more; the port is useless from then on.
    std::function<void(const std::string& name)> gone;
    // The connection had ended and was made anew: what was sent before may be lost.
    std::function<void(const std::string& name)> renewed;
  };

  // `remote` is the open port of that name. Everything referred to outlives this.
  ExtensionPort(const Services& services, std::string name,
                std::shared_ptr<RemoteMessagePort> remote, Callbacks callbacks);

  const std::string& name() const { return name_; }
  // Sends the message some time soon; null sends nothing. A message that does not go out because
  // the extension does not read is tried again until it does or is gone.
  void post(const Matter& matter, Message message);

  // How many messages have not gone out yet.
  std::size_t waiting() const { return waiting_.size() + (sending_ ? 1U : 0U); }

  static constexpr std::chrono::milliseconds kTimeout{1000};
  static constexpr std::chrono::milliseconds kRetryAfter{2000};

 private:
  struct Letter {
    Matter matter;
    Message message;
  };

  void pump();
  void sent(std::int32_t status);
  void timedOut();
  void connectionEnded();

  Services services_;
  const std::string name_;
  std::shared_ptr<RemoteMessagePort> remote_;  // null when the extension is gone
  Callbacks callbacks_;
  std::shared_ptr<SerialQueue> queue_;
  std::deque<Letter> waiting_;
  Letter underWay_;
  bool sending_ = false;
  bool answered_ = false;  // a message has gone out since the connection was made
  bool silent_ = false;    // the last message did not go out in time
  std::unique_ptr<EventLoop::Timer> retry_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
