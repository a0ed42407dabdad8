#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>

// Hands the changes of a key that it observes to a function, on the thread that delivers them. What
// the function raises is logged.
@interface KPDefaultsObserver : NSObject {
 @private
  std::shared_ptr<const std::function<void()>> _handler;
}

- (instancetype)initWithHandler:(std::function<void()>)handler;

@end
