#pragma once

#import <Foundation/Foundation.h>

// The settings of a suite, as NSUserDefaults is said to give them. They live in memory; whoever
// sets one notifies its observers at once, on the same thread. Any thread.
@interface HostSuiteDefaults : NSObject {
 @private
  NSMutableDictionary* _stored;
  NSMutableDictionary* _registered;
  NSMutableArray* _observers;  // pairs of observer and key
}

// The one store of that name.
+ (HostSuiteDefaults*)suiteNamed:(NSString*)name;

- (void)removeAllObjects;

- (id)objectForKey:(NSString*)key;
- (void)setObject:(id)value forKey:(NSString*)key;
- (void)removeObjectForKey:(NSString*)key;
- (void)registerDefaults:(NSDictionary*)defaults;
- (NSDictionary*)dictionaryRepresentation;
- (NSUInteger)observerCount;

@end
