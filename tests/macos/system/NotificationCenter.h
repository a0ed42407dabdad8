#pragma once

#import <Foundation/Foundation.h>

// The session's notifications, which stay within this process here. Posted on any thread, they are
// delivered by the main thread's run loop, as the system's are. Otherwise main thread.
@interface HostNotificationCenter : NSNotificationCenter {
 @private
  NSMutableArray* _posted;
}

+ (HostNotificationCenter*)center;

// What was posted to be delivered immediately, as pairs of name and object.
- (NSArray*)posted;
- (void)reset;

@end
