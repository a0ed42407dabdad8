#pragma once

#import <FinderSync/FinderSync.h>

// The Finder as a test sees it. Badges are set from any thread; the rest is the main thread's.
@interface HostFinder : FIFinderSyncController {
 @private
  NSSet* _directoryURLs;
  NSMutableDictionary* _images;  // by badge identifier
  NSMutableArray* _badges;       // pairs of path and identifier, in the order of their setting
  NSArray* _selected;
  NSURL* _targeted;
  NSURL* _early;
  NSString* _earlyName;
}

// The controller that the extension is given.
+ (HostFinder*)finder;

// Forgets everything.
- (void)reset;

// What the next menu is asked for.
- (void)select:(NSArray*)urls targeted:(NSURL*)url;
// Calls the next instances back while they are being made: asks for the toolbar item's name and its
// menu, and shows this folder. nil for no more of that.
- (void)showEarly:(NSURL*)url;
- (void)greet:(FIFinderSync*)instance;
// The name that was given then.
- (NSString*)earlyName;

// The image that was registered under the identifier, NSNull for nil; nil when none was.
- (NSImage*)badgeImage:(NSString*)identifier;
- (NSUInteger)badgeImageCount;
// The badge that was set last on the item of that path; nil when none was.
- (NSString*)badgeOfPath:(NSString*)path;

@end
