#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <vector>

#include "foundation/URL.h"

namespace kelpie {

// URLs and the platform's own. The core compares paths, so a file reference comes to it as the path
// that it stands for at that moment. Any thread.

// Autoreleased; nil when the platform takes the text for no URL.
NSURL* nsUrl(const URL& url);
// Missing for nil, for what is no URL, and for a reference to a file that is gone.
std::optional<URL> urlOf(NSURL* url);
// Those of an array or a set that are URLs.
std::vector<URL> urlsOf(id<NSFastEnumeration> urls);

}  // namespace kelpie
