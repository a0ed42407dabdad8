#include "platform/macos/DefaultsObserver.h"

#include <utility>

#include "platform/macos/Guard.h"

@implementation KPDefaultsObserver

- (instancetype)initWithHandler:(std::function<void()>)handler {
  self = [super init];
  if (self != nil) _handler = std::make_shared<const std::function<void()>>(std::move(handler));
  return self;
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context {
  // The observation may be let go meanwhile, on another thread.
  const std::shared_ptr<const std::function<void()>> handler = _handler;
  @autoreleasepool {
    kelpie::runGuarded(*handler);
  }
}

@end
