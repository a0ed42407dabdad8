#include "macos/system/NotificationCenter.h"

@interface HostNotificationCenter ()
- (void)deliver:(NSNotification*)notification;
@end

@implementation HostNotificationCenter

+ (HostNotificationCenter*)center {
  static HostNotificationCenter* const center = [[HostNotificationCenter alloc] init];
  return center;
}

- (instancetype)init {
  self = [super init];
  if (self != nil) _posted = [[NSMutableArray alloc] init];
  return self;
}

- (void)dealloc {
  [_posted release];
  [super dealloc];
}

- (void)addObserver:(id)observer
              selector:(SEL)selector
                  name:(NSString*)name
                object:(NSString*)object
    suspensionBehavior:(NSNotificationSuspensionBehavior)behavior {
  if (behavior == NSNotificationSuspensionBehaviorDeliverImmediately)
    [self addObserver:observer selector:selector name:name object:object];
}

- (void)postNotificationName:(NSString*)name
                      object:(NSString*)object
                    userInfo:(NSDictionary*)info
          deliverImmediately:(BOOL)isImmediate {
  if (!isImmediate) return;
  @synchronized(self) {
    [_posted addObject:[NSArray arrayWithObjects:name, object, nil]];
  }
  [self performSelectorOnMainThread:@selector(deliver:)
                         withObject:[NSNotification notificationWithName:name
                                                                  object:object
                                                                userInfo:info]
                      waitUntilDone:NO];
}

- (void)deliver:(NSNotification*)notification {
  [self postNotification:notification];
}

- (NSArray*)posted {
  @synchronized(self) {
    return [NSArray arrayWithArray:_posted];
  }
}

- (void)reset {
  @synchronized(self) {
    [_posted removeAllObjects];
  }
}

@end

@implementation NSDistributedNotificationCenter (Host)

+ (NSNotificationCenter*)defaultCenter {
  return [HostNotificationCenter center];
}

@end
