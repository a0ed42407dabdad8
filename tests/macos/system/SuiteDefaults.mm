#include "macos/system/SuiteDefaults.h"

#include <dispatch/dispatch.h>

#include <array>

namespace {

id propertyListCopy(id value);

NSArray* copyOfElements(NSArray* elements) {
  NSMutableArray* const copies = [NSMutableArray array];
  for (id element in elements) {
    id copy = propertyListCopy(element);
    if (copy == nil) return nil;
    [copies addObject:copy];
  }
  return [NSArray arrayWithArray:copies];
}

NSDictionary* copyOfEntries(NSDictionary* entries) {
  NSMutableDictionary* const copies = [NSMutableDictionary dictionary];
  for (id key in entries) {
    id copy = propertyListCopy([entries objectForKey:key]);
    if (copy == nil || ![key isKindOfClass:[NSString class]]) return nil;
    [copies setObject:copy forKey:key];
  }
  return [NSDictionary dictionaryWithDictionary:copies];
}

// Autoreleased, and not to be changed by anybody; nil when the value is no property list.
id propertyListCopy(id value) {
  if ([value isKindOfClass:[NSArray class]]) return copyOfElements(value);
  if ([value isKindOfClass:[NSDictionary class]]) return copyOfEntries(value);
  const bool isLeaf = [value isKindOfClass:[NSString class]] ||
                      [value isKindOfClass:[NSNumber class]] ||
                      [value isKindOfClass:[NSData class]] || [value isKindOfClass:[NSDate class]];
  return isLeaf ? [[value copy] autorelease] : nil;
}

// What counts where a suite has stored nothing, the first of them first; nil where there is none.
std::array<NSDictionary*, 2> sharedDomains() {
  NSUserDefaults* const standard = [NSUserDefaults standardUserDefaults];
  return {[standard persistentDomainForName:NSGlobalDomain],
          [standard volatileDomainForName:NSRegistrationDomain]};
}

// The thread that tells of what other processes change.
dispatch_queue_t settingsQueue() {
  static dispatch_queue_t const queue = dispatch_queue_create("settings", DISPATCH_QUEUE_SERIAL);
  return queue;
}

// A registration, as it stands in the list of them.
NSArray* registrationOf(NSObject* observer, NSString* key, void* context) {
  return [NSArray arrayWithObjects:[NSValue valueWithNonretainedObject:observer], key,
                                   [NSValue valueWithPointer:context], nil];
}

}  // namespace

@interface HostSuiteDefaults ()
- (void)store:(id)value forKey:(NSString*)key;
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
    _observers = [[NSMutableArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [_stored release];
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
    if (stored != nil) return [[stored retain] autorelease];
  }
  for (NSDictionary* domain : sharedDomains())
    if (id const value = [domain objectForKey:key]) return value;
  return nil;
}

// As the platform's, it holds property lists only.
- (void)store:(id)value forKey:(NSString*)key {
  id const copy = propertyListCopy(value);
  if (copy == nil && value != nil)
    [NSException raise:NSInvalidArgumentException format:@"no property list: %@", key];
  @synchronized(self) {
    if (copy == nil)
      [_stored removeObjectForKey:key];
    else
      [_stored setObject:copy forKey:key];
  }
}

- (void)setObject:(id)value forKey:(NSString*)key {
  [self store:value forKey:key];
  [self notifyObserversOf:key];
}

- (void)removeObjectForKey:(NSString*)key {
  [self setObject:nil forKey:key];
}

// A block holds no object here that it has captured.
- (void)setElsewhere:(id)value forKey:(NSString*)key {
  [self store:value forKey:key];
  NSString* const changed = [key copy];
  [self retain];
  dispatch_async(settingsQueue(), ^{
    [self notifyObserversOf:changed];
    [changed release];
    [self release];
  });
}

- (void)registerDefaults:(NSDictionary*)defaults {
  [[NSUserDefaults standardUserDefaults] registerDefaults:defaults];
}

- (NSDictionary*)dictionaryRepresentation {
  NSMutableDictionary* const all = [NSMutableDictionary dictionary];
  const auto [global, registered] = sharedDomains();
  [all addEntriesFromDictionary:registered];
  [all addEntriesFromDictionary:global];
  @synchronized(self) {
    [all addEntriesFromDictionary:_stored];
  }
  return all;
}

- (void)addObserver:(NSObject*)observer
         forKeyPath:(NSString*)key
            options:(NSKeyValueObservingOptions)options
            context:(void*)context {
  NSAssert(options == NSKeyValueObservingOptionNew, @"not provided for");
  @synchronized(self) {
    [_observers addObject:registrationOf(observer, key, context)];
  }
}

- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)key context:(void*)context {
  @synchronized(self) {
    const NSUInteger index = [_observers indexOfObject:registrationOf(observer, key, context)];
    if (index == NSNotFound) [NSException raise:NSRangeException format:@"no observer of %@", key];
    [_observers removeObjectAtIndex:index];
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
