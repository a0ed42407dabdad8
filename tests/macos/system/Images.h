#pragma once

#import <AppKit/AppKit.h>

namespace kelpie::system {

// The name of the symbol that an image was made for; nil for any other image.
NSString* symbolName(NSImage* image);

}  // namespace kelpie::system
