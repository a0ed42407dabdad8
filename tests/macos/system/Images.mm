#include "macos/system/Images.h"

namespace {

// Facts about images that GNUstep's do not hold, by image.
NSMapTable* templates() {
  static NSMapTable* const table = [[NSMapTable mapTableWithStrongToStrongObjects] retain];
  return table;
}

NSMapTable* symbols() {
  static NSMapTable* const table = [[NSMapTable mapTableWithStrongToStrongObjects] retain];
  return table;
}

}  // namespace

@implementation NSImage (Additions)

+ (NSImage*)imageWithSystemSymbolName:(NSString*)name
             accessibilityDescription:(NSString*)description {
  if (description != nil || ![name isEqualToString:@"tag"]) return nil;
  NSImage* const image = [[[NSImage alloc] initWithSize:NSMakeSize(16, 16)] autorelease];
  [symbols() setObject:name forKey:image];
  return image;
}

- (BOOL)isTemplate {
  return [[templates() objectForKey:self] boolValue];
}

- (void)setTemplate:(BOOL)isTemplate {
  [templates() setObject:[NSNumber numberWithBool:isTemplate] forKey:self];
}

@end

namespace kelpie::system {

NSString* symbolName(NSImage* image) { return [symbols() objectForKey:image]; }

}  // namespace kelpie::system

// Archives.

NSString* const NSKeyedArchiveRootObjectKey = @"root";

@implementation NSKeyedUnarchiver (Additions)

- (instancetype)initForReadingFromData:(NSData*)data error:(NSError**)error {
  return [self initForReadingWithData:data];
}

@end
