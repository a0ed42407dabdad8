#pragma once

#import <Foundation/Foundation.h>

// The file system's side of NSURL and NSFileManager that GNUstep lacks: resource values, file
// references, bookmarks, and a walk that yields URLs.

@interface NSURL (Host)
// The bookmark of a file that exists; nil for what does not.
- (NSData*)hostBookmark;
@end

namespace kelpie::system {

// Whether files have such identifiers instead of data. Changed while nobody asks for one.
void setIdentifiersOpaque(bool areOpaque);

}  // namespace kelpie::system
