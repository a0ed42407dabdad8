#include "platform/macos/NotificationObserver.h"

#include <utility>

#include "platform/macos/Guard.h"
#include "platform/macos/Objects.h"

@implementation KPNotificationObserver

- (instancetype)initWithHandler:(std::function<void(const std::string&)>)handler {
  self = [super init];
  if (self != nil)
    _handler = std::make_shared<const std::function<void(const std::string&)>>(std::move(handler));
  return self;
}

- (void)receiveNotification:(NSNotification*)notification {
  const auto handler = _handler;
  @autoreleasepool {
    kelpie::runGuarded([&] { (*handler)(kelpie::objectOf([notification object]).stringValue()); });
  }
}

@end
