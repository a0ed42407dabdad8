#pragma once

#import <CoreFoundation/CoreFoundation.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "platform/MessagePort.h"
#include "platform/macos/Retained.h"

namespace kelpie {

// The sending end of another process's port. Any thread.
class MacRemoteMessagePort final : public RemoteMessagePort {
 public:
  // Null when nobody listens under that name.
  static std::shared_ptr<MacRemoteMessagePort> create(std::string_view name);

  explicit MacRemoteMessagePort(CFRetained<CFMessagePortRef> port) : port_(std::move(port)) {}

  // CoreFoundation's status as it is. The time that other messages take in front counts towards
  // `sendTimeout`.
  std::int32_t send(std::int32_t id, const Bytes& message, std::chrono::milliseconds sendTimeout,
                    std::chrono::milliseconds receiveTimeout) override;

 private:
  std::timed_mutex mutex_;  // one message after the other
  const CFRetained<CFMessagePortRef> port_;
};

}  // namespace kelpie
