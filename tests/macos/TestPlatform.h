#pragma once

#import <AppKit/AppKit.h>

namespace kelpie {

// What a test asks of the platform and src/platform/macos does not. linux/ and mac/ each define it.

// The bookmark of an existing file, autoreleased.
NSData* bookmarkOf(NSString* path);
// Whether the image is the system's symbol of that name, as far as the platform tells.
bool isSymbol(NSImage* image, NSString* name);
// Another process stores a setting of a suite, or removes it when the value is nil; it is stored
// when this returns.
void storeElsewhere(NSString* suite, NSString* key, id value);
// Removes all settings that are stored for a suite.
void removeSettings(NSString* suite);

}  // namespace kelpie
