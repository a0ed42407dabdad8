#pragma once

#import <Foundation/Foundation.h>

// The session's notifications, which stay within this process here. Main thread.
@interface HostNotificationCenter : NSNotificationCenter {
 @private
  NSMutableArray* _posted;
}

+ (HostNotificationCenter*)center;

// What was posted to be delivered immediately, as pairs of name and object.
- (NSArray*)posted;
- (void)reset;

@end
