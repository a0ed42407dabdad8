#pragma once

#import <Foundation/Foundation.h>

// The settings of a suite, as NSUserDefaults is said to give them. They live in memory. What this
// process sets it notifies the observers of at once, on the same thread; of what another process
// sets they hear later, on a thread of the system's. Any thread.
@interface HostSuiteDefaults : NSObject {
 @private
  NSMutableDictionary* _stored;
  NSMutableDictionary* _registered;
  NSMutableArray* _observers;  // observer, key and context of each
}

// The one store of that name.
+ (HostSuiteDefaults*)suiteNamed:(NSString*)name;

- (void)removeAllObjects;
// Sets it as another process.
- (void)setElsewhere:(id)value forKey:(NSString*)key;

- (id)objectForKey:(NSString*)key;
- (void)setObject:(id)value forKey:(NSString*)key;
- (void)removeObjectForKey:(NSString*)key;
- (void)registerDefaults:(NSDictionary*)defaults;
- (NSDictionary*)dictionaryRepresentation;
- (NSUInteger)observerCount;

@end
