#include "platform/macos/MacLocalMessagePort.h"

#include "platform/macos/Guard.h"
#include "platform/macos/Strings.h"

namespace kelpie {

std::unique_ptr<MacLocalMessagePort> MacLocalMessagePort::create(std::string_view name,
                                                                 Handler handler) {
  // The constructor is private, so make_unique cannot reach it.
  std::unique_ptr<MacLocalMessagePort> port(
      new MacLocalMessagePort(std::move(handler)));  // NOLINT(cppcoreguidelines-owning-memory)
  return port->open(name) ? std::move(port) : nullptr;
}

bool MacLocalMessagePort::open(std::string_view name) {
  NSString* const portName = nsString(name);
  if (portName == nil) return false;
  CFMessagePortContext context = {1, this, nullptr, nullptr, nullptr};
  Boolean isTaken = 0;
  auto port = CFRetained<CFMessagePortRef>::adopt(CFMessagePortCreateLocal(
      nullptr, cfOf<CFStringRef>(portName), &MacLocalMessagePort::receive, &context, &isTaken));
  // A name that this process has in use gives the port of that name, with what it calls: somebody
  // else's, which is left as it is.
  if (!port || isTaken != 0) return false;
  port_ = std::move(port);
  source_ = CFRetained<CFRunLoopSourceRef>::adopt(
      CFMessagePortCreateRunLoopSource(nullptr, port_.get(), 0));
  if (!source_) return false;
  CFRunLoopAddSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
  return true;
}

MacLocalMessagePort::~MacLocalMessagePort() {
  if (source_) CFRunLoopRemoveSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
  if (port_) CFMessagePortInvalidate(port_.get());
}

CFDataRef MacLocalMessagePort::receive(CFMessagePortRef port, SInt32 id, CFDataRef message,
                                       void* receiver) {
  @autoreleasepool {
    // The port may go while its handler runs.
    const auto handler = static_cast<const MacLocalMessagePort*>(receiver)->handler_;
    const auto held = Retained<NSObject*>::keep(objectOfCF(port));
    auto bytes = std::make_shared<Bytes>();
    if (message != nullptr) {
      const UInt8* const start = CFDataGetBytePtr(message);
      bytes->assign(start, start + CFDataGetLength(message));
    }
    runGuarded([&] { (*handler)(id, std::move(bytes), [] {}); });
    return nullptr;
  }
}

}  // namespace kelpie
