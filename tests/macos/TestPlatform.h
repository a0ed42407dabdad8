#pragma once

#import <AppKit/AppKit.h>

namespace kelpie {

// What a test asks of the platform and src/platform/macos does not. linux/ and mac/ each define it.

// The bookmark of an existing file, autoreleased.
NSData* bookmarkOf(NSString* path);
// Whether the image is the system's symbol of that name, as far as the platform tells.
bool isSymbol(NSImage* image, NSString* name);

}  // namespace kelpie
