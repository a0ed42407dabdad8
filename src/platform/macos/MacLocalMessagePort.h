#pragma once

#include <memory>
#include <string_view>
#include <utility>

#import <CoreFoundation/CoreFoundation.h>

#include "platform/MessagePort.h"
#include "platform/macos/Retained.h"

namespace kelpie {

// A port of CoreFoundation whose source stands in the main run loop's common modes. Messages are
// handed on as they come: completions are not waited for. Main thread.
class MacLocalMessagePort final : public LocalMessagePort {
 public:
  // Null when the name is taken or the port cannot be made.
  static std::unique_ptr<MacLocalMessagePort> create(std::string_view name, Handler handler);

  ~MacLocalMessagePort() override;
  MacLocalMessagePort(const MacLocalMessagePort&) = delete;
  MacLocalMessagePort& operator=(const MacLocalMessagePort&) = delete;

 private:
  explicit MacLocalMessagePort(Handler handler)
      : handler_(std::make_shared<const Handler>(std::move(handler))) {}

  bool open(std::string_view name);
  static CFDataRef receive(CFMessagePortRef port, SInt32 id, CFDataRef message, void* receiver);

  const std::shared_ptr<const Handler> handler_;  // also its call's, which may let the port go
  CFRetained<CFMessagePortRef> port_;
  CFRetained<CFRunLoopSourceRef> source_;
};

}  // namespace kelpie
