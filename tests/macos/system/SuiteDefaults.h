#pragma once

#import <Foundation/Foundation.h>

// The settings of a suite, as NSUserDefaults is said to give them. They live in memory, as copies
// of what was set. The observers of a key are notified whenever it is set, be it to the value that
// it has: of what this process sets at once, on the same thread; of what another process sets
// later, in the order of the changes, on a thread of the system's. What is registered with one
// suite counts for all of them and for the standard settings, and the global settings count for
// every suite. Any thread.
@interface HostSuiteDefaults : NSObject {
 @private
  NSMutableDictionary* _stored;
  NSMutableArray* _observers;  // observer, key and context of each
}

// The one store of that name.
+ (HostSuiteDefaults*)suiteNamed:(NSString*)name;

- (void)removeAllObjects;
// Sets it as another process, or removes it when the value is nil.
- (void)setElsewhere:(id)value forKey:(NSString*)key;

- (id)objectForKey:(NSString*)key;
- (void)setObject:(id)value forKey:(NSString*)key;
- (void)removeObjectForKey:(NSString*)key;
- (void)registerDefaults:(NSDictionary*)defaults;
- (NSDictionary*)dictionaryRepresentation;
- (NSUInteger)observerCount;

@end
