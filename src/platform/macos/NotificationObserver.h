#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>
#include <string>

// Hands the notifications that it is registered for to a function, with the object that they were
// posted with: its text, or "" for what is none. What the function raises is logged.
@interface KPNotificationObserver : NSObject {
 @private
  std::shared_ptr<const std::function<void(const std::string&)>> _handler;
}

- (instancetype)initWithHandler:(std::function<void(const std::string&)>)handler;
- (void)receiveNotification:(NSNotification*)notification;

@end
