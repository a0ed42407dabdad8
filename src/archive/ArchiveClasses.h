#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/Object.h"

namespace kelpie {

// The classes that the codec itself knows, by their names in a keyed archive. All other classes
// come from the ClassTable or are kept as opaque objects.
struct ArchiveClass {
  std::string_view name;
  Object::Kind kind;
  bool isMutable;
};

// The text that stands for nil.
inline constexpr std::string_view kNull = "$null";

inline constexpr ArchiveClass kArchiveClasses[] = {
    {"NSString", Object::Kind::String, false},
    {"NSMutableString", Object::Kind::String, true},
    {"NSData", Object::Kind::Data, false},
    {"NSMutableData", Object::Kind::Data, true},
    {"NSNumber", Object::Kind::Integer, false},
    {"NSDate", Object::Kind::Date, false},
    {"NSURL", Object::Kind::Url, false},
    {"NSArray", Object::Kind::Array, false},
    {"NSMutableArray", Object::Kind::Array, true},
    {"NSSet", Object::Kind::Set, false},
    {"NSMutableSet", Object::Kind::Set, true},
    {"NSDictionary", Object::Kind::Dictionary, false},
    {"NSMutableDictionary", Object::Kind::Dictionary, true},
    {"NSError", Object::Kind::Error, false},
    // Subclasses that hold their content under keys of their own: taken for their superclass they
    // would come back empty, so they are kept whole.
    {"NSDecimalNumber", Object::Kind::Opaque, false},
    {"NSCountedSet", Object::Kind::Opaque, false},
};

}  // namespace kelpie
