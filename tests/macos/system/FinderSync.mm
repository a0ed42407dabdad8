#include "macos/system/FinderSync.h"

@implementation FIFinderSync

- (instancetype)init {
  self = [super init];
  if (self != nil) [[HostFinder finder] greet:self];
  return self;
}

- (NSMenu*)menuForMenuKind:(FIMenuKind)kind {
  return nil;
}
- (void)beginObservingDirectoryAtURL:(NSURL*)url {
}
- (void)endObservingDirectoryAtURL:(NSURL*)url {
}
- (void)requestBadgeIdentifierForURL:(NSURL*)url {
}
- (NSString*)toolbarItemName {
  return nil;
}
- (NSImage*)toolbarItemImage {
  return nil;
}
- (NSString*)toolbarItemToolTip {
  return nil;
}

@end

@implementation FIFinderSyncController

+ (instancetype)defaultController {
  return [HostFinder finder];
}
- (NSSet*)directoryURLs {
  return nil;
}
- (void)setDirectoryURLs:(NSSet*)urls {
}
- (void)setBadgeImage:(NSImage*)image
                 label:(NSString*)label
    forBadgeIdentifier:(NSString*)identifier {
}
- (void)setBadgeIdentifier:(NSString*)identifier forURL:(NSURL*)url {
}
- (NSURL*)targetedURL {
  return nil;
}
- (NSArray*)selectedItemURLs {
  return nil;
}

@end

@implementation HostFinder

+ (HostFinder*)finder {
  static HostFinder* const finder = [[HostFinder alloc] init];
  return finder;
}

- (instancetype)init {
  self = [super init];
  if (self != nil) {
    _directoryURLs = [[NSSet alloc] init];
    _images = [[NSMutableDictionary alloc] init];
    _badges = [[NSMutableArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [_directoryURLs release];
  [_images release];
  [_badges release];
  [_selected release];
  [_targeted release];
  [_early release];
  [_earlyName release];
  [super dealloc];
}

- (void)reset {
  [self setDirectoryURLs:[NSSet set]];
  [self select:nil targeted:nil];
  [self showEarly:nil];
  @synchronized(self) {
    [_badges removeAllObjects];
  }
}

- (NSSet*)directoryURLs {
  return _directoryURLs;
}

- (void)setDirectoryURLs:(NSSet*)urls {
  NSSet* const copy = [urls copy];
  [_directoryURLs release];
  _directoryURLs = copy;
}

- (void)setBadgeImage:(NSImage*)image
                 label:(NSString*)label
    forBadgeIdentifier:(NSString*)identifier {
  NSAssert(label != nil, @"a badge needs a label");
  [_images setObject:image == nil ? static_cast<id>([NSNull null]) : image forKey:identifier];
}

- (void)setBadgeIdentifier:(NSString*)identifier forURL:(NSURL*)url {
  @synchronized(self) {
    [_badges addObject:[NSArray arrayWithObjects:[[url filePathURL] path], identifier, nil]];
  }
}

- (void)greet:(FIFinderSync*)instance {
  if (_early == nil) return;
  _earlyName = [[instance toolbarItemName] copy];
  [instance menuForMenuKind:FIMenuKindToolbarItemMenu];
  [instance beginObservingDirectoryAtURL:_early];
  [instance requestBadgeIdentifierForURL:_early];
}

- (void)showEarly:(NSURL*)url {
  [_early release];
  _early = [url copy];
}

- (NSString*)earlyName {
  return _earlyName;
}

- (NSURL*)targetedURL {
  return _targeted;
}

- (NSArray*)selectedItemURLs {
  return _selected;
}

- (void)select:(NSArray*)urls targeted:(NSURL*)url {
  [_selected release];
  _selected = [urls copy];
  [_targeted release];
  _targeted = [url copy];
}

- (NSImage*)badgeImage:(NSString*)identifier {
  return [_images objectForKey:identifier];
}

- (NSUInteger)badgeImageCount {
  return [_images count];
}

- (NSString*)badgeOfPath:(NSString*)path {
  @synchronized(self) {
    for (NSArray* badge in [_badges reverseObjectEnumerator])
      if ([[badge objectAtIndex:0] isEqualToString:path]) return [badge objectAtIndex:1];
    return nil;
  }
}

@end
