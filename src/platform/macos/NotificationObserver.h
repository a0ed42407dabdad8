#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>
#include <string>

// Calls a function for each notification that it is registered for, with the text that was posted
// as its object, or "" for an object of another kind. Exceptions from the function are logged.
@interface KPNotificationObserver : NSObject {
 @private
  std::shared_ptr<const std::function<void(const std::string&)>> _handler;
}

- (instancetype)initWithHandler:(std::function<void(const std::string&)>)handler;
- (void)receiveNotification:(NSNotification*)notification;

@end
