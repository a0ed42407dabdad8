#pragma once

// What src/platform/macos uses of Foundation and AppKit, and GNUstep has not. Included before every
// file that is compiled for these tests; system/ holds the implementations.

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

extern NSString* const NSKeyedArchiveRootObjectKey;

@interface NSURL (Additions)
- (NSDictionary*)resourceValuesForKeys:(NSArray*)keys error:(NSError**)error;
- (NSData*)bookmarkDataWithOptions:(NSUInteger)options
    includingResourceValuesForKeys:(NSArray*)keys
                     relativeToURL:(NSURL*)base
                             error:(NSError**)error;
+ (NSURL*)URLByResolvingBookmarkData:(NSData*)bookmark
                             options:(NSURLBookmarkResolutionOptions)options
                       relativeToURL:(NSURL*)base
                 bookmarkDataIsStale:(BOOL*)isStale
                               error:(NSError**)error;
@end

@interface NSUserDefaults (Additions)
- (instancetype)initWithSuiteName:(NSString*)suite;
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)key context:(void*)context;
@end

@interface NSKeyedUnarchiver (Additions)
- (instancetype)initForReadingFromData:(NSData*)data error:(NSError**)error;
@end

@interface NSImage (Additions)
+ (NSImage*)imageWithSystemSymbolName:(NSString*)name
             accessibilityDescription:(NSString*)description;
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)isTemplate;
@end

@interface NSDirectoryEnumerator (Additions)
- (void)skipDescendants;
@end
