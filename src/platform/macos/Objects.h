#pragma once

#import <Foundation/Foundation.h>

#include <optional>

#include "foundation/Bytes.h"
#include "foundation/Error.h"
#include "foundation/Object.h"

namespace kelpie {

// Values and the platform's own objects. Any thread.

// Deeper than this nothing is converted: values from other processes may nest without limit.
inline constexpr int kDeepestNesting = 64;

// Strings, numbers, data, dates, URLs, errors, arrays, sets and dictionaries of them; nil for nil
// and for anything else. Containers leave out elements without a value here.
Object objectOf(id object);
Error errorOf(NSError* error);

// The platform's object, autoreleased. nil for nil, and when the value or anything in it has none
// here: a reference record, a text that is not UTF-8. A menu item becomes one of AppKit's, without
// its image; an object of an unknown class becomes what the platform unarchives it to.
id nsObject(const Object& object);

// The platform's keyed archive of an object, autoreleased. nil, and a log line, for an object that
// cannot be archived.
NSData* nsArchive(id object);

NSData* nsData(ByteView bytes);  // autoreleased copy
Bytes bytesOfData(NSData* data);

}  // namespace kelpie
