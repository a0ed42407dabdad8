#include "agent/link/ExtensionPort.h"

#include <algorithm>
#include <utility>

#include "protocol/MessageKeys.h"

namespace kelpie::agent {

ExtensionPort::ExtensionPort(const Services& services, std::string name,
                             std::shared_ptr<RemoteMessagePort> remote, Callbacks callbacks)
    : services_(services),
      name_(std::move(name)),
      remote_(std::move(remote)),
      callbacks_(std::move(callbacks)),
      queue_(services.queues.makeQueue("org.kelpie.Kelpie.SendingQueue")) {}

// A message that waits already keeps its place: what was posted after it may only be understood
// behind it. A newer one about its matter goes to the end: what was posted in between may have to
// come before it.
void ExtensionPort::post(const Matter& matter, Message message) {
  thread_.check();
  if (message == nullptr || remote_ == nullptr) return;
  const auto waiting = std::ranges::find(waiting_, matter, &Letter::matter);
  if (waiting != waiting_.end()) {
    if (isSameMessage(waiting->message, message)) return;
    waiting_.erase(waiting);
  }
  waiting_.push_back({matter, std::move(message)});
  if (matter.folder.empty())
    std::stable_partition(waiting_.begin(), waiting_.end(), [&](const Letter& letter) {
      return letter.matter.folder.empty() || letter.matter.repository != matter.repository;
    });
  pump();
}

void ExtensionPort::pump() {
  if (sending_ || retry_ != nullptr || waiting_.empty() || remote_ == nullptr) return;
  sending_ = true;
  underWay_ = std::move(waiting_.front());
  waiting_.pop_front();
  queue_->post([weak = weak_from_this(), remote = remote_, message = underWay_.message,
                main = services_.loop.queue()] {
    const std::int32_t status = remote->send(kExtensionMessage, *message, kTimeout, kTimeout);
    main->post([weak, status] {
      if (const auto port = weak.lock()) port->sent(status);
    });
  });
}

void ExtensionPort::sent(std::int32_t status) {
  sending_ = false;
  switch (status) {
    case RemoteMessagePort::kSuccess:
      answered_ = true;
      silent_ = false;
      break;
    case RemoteMessagePort::kSendTimeout:
      return timedOut();
    case RemoteMessagePort::kIsInvalid:
      return connectionEnded();
    default:
      services_.loop.log().write("port " + name_ + ": " + std::string(underWay_.matter.selector) +
                                 " could not be sent, status " + std::to_string(status));
  }
  underWay_ = {};
  pump();
}

void ExtensionPort::timedOut() {
  if (!std::exchange(silent_, true))
    services_.loop.log().write("port " + name_ + ": the extension does not read, trying again");
  const auto waiting = std::ranges::find(waiting_, underWay_.matter, &Letter::matter);
  if (waiting == waiting_.end()) {
    waiting_.push_front(std::move(underWay_));
  } else if (isSameMessage(waiting->message, underWay_.message)) {
    waiting_.erase(waiting);
    waiting_.push_front(std::move(underWay_));
  }
  underWay_ = {};
  retry_ = services_.loop.callAfter(kRetryAfter, [weak = weak_from_this()] {
    if (const auto port = weak.lock()) {
      port->retry_.reset();
      port->pump();
    }
  });
}

// Either the extension is gone, or only the connection. A connection that takes no message at all
// is not made again and again.
void ExtensionPort::connectionEnded() {
  const auto alive = shared_from_this();
  remote_ = std::exchange(answered_, false) ? services_.ports.createRemote(name_) : nullptr;
  underWay_ = {};
  waiting_.clear();
  if (remote_ == nullptr) return callbacks_.gone(name_);
  callbacks_.renewed(name_);
}

}  // namespace kelpie::agent
