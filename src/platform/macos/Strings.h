#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

namespace kelpie {

// UTF-8 and the platform's strings. Any thread.

// Autoreleased; nil when `text` is not UTF-8.
NSString* nsString(std::string_view text);
// "" for nil and for a string without a UTF-8 form (half of a surrogate pair).
std::string stdString(NSString* text);

}  // namespace kelpie
