#pragma once

#import <Foundation/Foundation.h>

#include <functional>

// The one observer of all settings of this process. It lives for ever, since a thread that changes
// a setting may still be on its way to an observer that is being removed. The context of a
// registration identifies the handler; a context is never used twice.
@interface KPDefaultsObserver : NSObject

+ (KPDefaultsObserver*)sharedObserver;

// The context under which to register the observer for a key. Any thread.
+ (void*)contextForHandler:(std::function<void()>)handler;
// Lets the handler go. Once this has returned on the main thread, it is not called any more. Any
// thread.
+ (void)forgetContext:(void*)context;

// Calls the handler of the context on the main thread: at once when that is where the change was
// made, else later, which is how changes by other processes come. Exceptions from the handler are
// logged.
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context;

@end
