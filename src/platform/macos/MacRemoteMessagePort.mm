#include "platform/macos/MacRemoteMessagePort.h"

#include <algorithm>

#include "platform/macos/Strings.h"

namespace kelpie {
namespace {

CFTimeInterval seconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

}  // namespace

std::shared_ptr<MacRemoteMessagePort> MacRemoteMessagePort::create(std::string_view name) {
  NSString* const portName = nsString(name);
  if (portName == nil) return nullptr;
  auto port = CFRetained<CFMessagePortRef>::adopt(
      CFMessagePortCreateRemote(nullptr, cfOf<CFStringRef>(portName)));
  return port ? std::make_shared<MacRemoteMessagePort>(std::move(port)) : nullptr;
}

std::int32_t MacRemoteMessagePort::send(std::int32_t id, const Bytes& message,
                                        std::chrono::milliseconds sendTimeout,
                                        std::chrono::milliseconds receiveTimeout) {
  static_assert(kCFMessagePortSuccess == kSuccess && kCFMessagePortSendTimeout == kSendTimeout &&
                kCFMessagePortIsInvalid == kIsInvalid &&
                kCFMessagePortTransportError == kTransportError);
  @autoreleasepool {
    const auto data = CFRetained<CFDataRef>::adopt(
        CFDataCreate(nullptr, message.data(), static_cast<CFIndex>(message.size())));
    if (!data) return kTransportError;
    const auto deadline = std::chrono::steady_clock::now() + sendTimeout;
    const std::unique_lock lock(mutex_, deadline);
    if (!lock) return kSendTimeout;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(deadline - std::chrono::steady_clock::now(), std::chrono::nanoseconds::zero()));
    return CFMessagePortSendRequest(port_.get(), id, data.get(), seconds(left),
                                    seconds(receiveTimeout), nullptr, nullptr);
  }
}

}  // namespace kelpie
