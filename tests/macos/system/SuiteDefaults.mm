#include "macos/system/SuiteDefaults.h"

namespace {

bool isPropertyList(id value) {
  id parts = nil;
  if ([value isKindOfClass:[NSArray class]]) parts = value;
  if ([value isKindOfClass:[NSDictionary class]]) parts = [value allValues];
  for (id part in parts)
    if (!isPropertyList(part)) return false;
  return parts != nil || [value isKindOfClass:[NSString class]] ||
         [value isKindOfClass:[NSNumber class]] || [value isKindOfClass:[NSData class]] ||
         [value isKindOfClass:[NSDate class]];
}

}  // namespace

@interface HostSuiteDefaults ()
- (void)notifyObserversOf:(NSString*)key;
@end

@implementation HostSuiteDefaults

+ (HostSuiteDefaults*)suiteNamed:(NSString*)name {
  static NSMutableDictionary* const suites = [[NSMutableDictionary alloc] init];
  @synchronized(suites) {
    HostSuiteDefaults* suite = [suites objectForKey:name];
    if (suite == nil) {
      suite = [[[HostSuiteDefaults alloc] init] autorelease];
      [suites setObject:suite forKey:name];
    }
    return suite;
  }
}

- (instancetype)init {
  self = [super init];
  if (self != nil) {
    _stored = [[NSMutableDictionary alloc] init];
    _registered = [[NSMutableDictionary alloc] init];
    _observers = [[NSMutableArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [_stored release];
  [_registered release];
  [_observers release];
  [super dealloc];
}

- (void)removeAllObjects {
  @synchronized(self) {
    [_stored removeAllObjects];
  }
}

- (id)objectForKey:(NSString*)key {
  @synchronized(self) {
    id const stored = [_stored objectForKey:key];
    return [[(stored != nil ? stored : [_registered objectForKey:key]) retain] autorelease];
  }
}

// As the platform's, it holds property lists only.
- (void)setObject:(id)value forKey:(NSString*)key {
  if (!isPropertyList(value))
    [NSException raise:NSInvalidArgumentException format:@"no property list: %@", key];
  @synchronized(self) {
    [_stored setObject:value forKey:key];
  }
  [self notifyObserversOf:key];
}

- (void)setElsewhere:(id)value forKey:(NSString*)key {
  @synchronized(self) {
    [_stored setObject:value forKey:key];
  }
  [NSThread detachNewThreadSelector:@selector(notifyObserversOf:) toTarget:self withObject:key];
}

- (void)removeObjectForKey:(NSString*)key {
  @synchronized(self) {
    [_stored removeObjectForKey:key];
  }
  [self notifyObserversOf:key];
}

- (void)registerDefaults:(NSDictionary*)defaults {
  @synchronized(self) {
    [_registered addEntriesFromDictionary:defaults];
  }
}

- (NSDictionary*)dictionaryRepresentation {
  @synchronized(self) {
    NSMutableDictionary* const all = [NSMutableDictionary dictionaryWithDictionary:_registered];
    [all addEntriesFromDictionary:_stored];
    return all;
  }
}

- (void)addObserver:(NSObject*)observer
         forKeyPath:(NSString*)key
            options:(NSKeyValueObservingOptions)options
            context:(void*)context {
  NSAssert(options == NSKeyValueObservingOptionNew, @"not provided for");
  @synchronized(self) {
    [_observers addObject:[NSArray arrayWithObjects:[NSValue valueWithNonretainedObject:observer],
                                                    key, [NSValue valueWithPointer:context], nil]];
  }
}

- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)key context:(void*)context {
  @synchronized(self) {
    [_observers
        removeObject:[NSArray arrayWithObjects:[NSValue valueWithNonretainedObject:observer], key,
                                               [NSValue valueWithPointer:context], nil]];
  }
}

- (NSUInteger)observerCount {
  @synchronized(self) {
    return [_observers count];
  }
}

- (void)notifyObserversOf:(NSString*)key {
  @autoreleasepool {
    NSArray* observers = nil;
    @synchronized(self) {
      observers = [NSArray arrayWithArray:_observers];
    }
    for (NSArray* observer in observers)
      if ([[observer objectAtIndex:1] isEqualToString:key])
        [[[observer objectAtIndex:0] nonretainedObjectValue]
            observeValueForKeyPath:key
                          ofObject:self
                            change:nil
                           context:[[observer objectAtIndex:2] pointerValue]];
  }
}

@end

@implementation NSUserDefaults (Additions)

- (instancetype)initWithSuiteName:(NSString*)suite {
  [self release];
  if (suite == nil) return nil;
  return static_cast<id>([[HostSuiteDefaults suiteNamed:suite] retain]);
}

// Only suites are observed.
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)key context:(void*)context {
  [NSException raise:NSInvalidArgumentException format:@"not provided for"];
}

@end
