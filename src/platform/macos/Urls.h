#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <vector>

#include "foundation/URL.h"

namespace kelpie {

// URLs and the platform's own. What the Finder and the settings give comes to the core as paths, a
// file reference as the path that it stands for at that moment; the core asks for references itself
// where it is to follow a folder. Any thread.

// Autoreleased; nil when the platform takes the text for no URL.
NSURL* nsUrl(const URL& url);
// Absent for nil, for anything but a URL, and for a reference to a file that is gone.
std::optional<URL> urlOf(NSURL* url);
// What the platform knows of an item under a key (NSURLLocalizedNameKey); autoreleased. nil when
// nothing is there, or the system has nothing to say.
id resourceValue(NSURL* url, NSString* key);
// The URLs in an array or a set; other elements are left out.
std::vector<URL> urlsOf(id<NSFastEnumeration> urls);

}  // namespace kelpie
