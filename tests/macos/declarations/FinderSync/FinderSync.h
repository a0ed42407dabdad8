#pragma once

// What src/platform/macos uses of FinderSync. system/FinderSync.mm holds the implementation.

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

typedef NS_ENUM(NSUInteger, FIMenuKind) {
  FIMenuKindContextualMenuForItems = 0,
  FIMenuKindContextualMenuForContainer = 1,
  FIMenuKindContextualMenuForSidebar = 2,
  FIMenuKindToolbarItemMenu = 3,
};

// The base class of an extension's principal class.
@interface FIFinderSync : NSObject
- (NSMenu*)menuForMenuKind:(FIMenuKind)kind;
- (void)beginObservingDirectoryAtURL:(NSURL*)url;
- (void)endObservingDirectoryAtURL:(NSURL*)url;
- (void)requestBadgeIdentifierForURL:(NSURL*)url;
- (NSString*)toolbarItemName;
- (NSImage*)toolbarItemImage;
- (NSString*)toolbarItemToolTip;
@end

@interface FIFinderSyncController : NSObject
+ (instancetype)defaultController;
- (NSSet*)directoryURLs;
- (void)setDirectoryURLs:(NSSet*)urls;
- (void)setBadgeImage:(NSImage*)image
                 label:(NSString*)label
    forBadgeIdentifier:(NSString*)identifier;
- (void)setBadgeIdentifier:(NSString*)identifier forURL:(NSURL*)url;
- (NSURL*)targetedURL;
- (NSArray*)selectedItemURLs;
@end
