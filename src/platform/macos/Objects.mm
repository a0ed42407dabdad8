#include "platform/macos/Objects.h"

#include <cstring>
#include <string_view>

#include "archive/KeyedArchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/MenuItem.h"
#include "platform/macos/MenuConversion.h"
#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"
#include "platform/macos/Urls.h"

namespace kelpie {
namespace {

Object objectOf(id object, int depth);
id nsObject(const Object& object, int depth);

// -- From the platform ----------------------------------------------------------------------------

Object numberOf(NSNumber* number) {
  // By its type in C a boolean is a number of one byte, as a character is.
  if (CFGetTypeID(cfOf<CFTypeRef>(number)) == CFBooleanGetTypeID())
    return {[number boolValue] == YES};
  const std::string_view type = [number objCType];
  if (type == @encode(double) || type == @encode(float)) return {[number doubleValue]};
  if (type == @encode(unsigned long long) || type == @encode(unsigned long))
    return {[number unsignedLongLongValue]};
  return {[number longLongValue]};
}

Objects elementsOf(id<NSFastEnumeration> elements, int depth) {
  Objects values;
  for (id element in elements) {
    Object value = objectOf(element, depth + 1);
    if (!value.isNil()) values.push_back(std::move(value));
  }
  return values;
}

Dictionary dictionaryOf(NSDictionary* entries, int depth) {
  Dictionary values;
  for (id key in entries) {
    Object name = objectOf(key, depth + 1);
    Object value = objectOf([entries objectForKey:key], depth + 1);
    if (!name.isNil() && !value.isNil()) values.set(std::move(name), std::move(value));
  }
  return values;
}

Error errorOf(NSError* error, int depth) {
  return {stdString([error domain]), [error code], dictionaryOf([error userInfo], depth)};
}

Object objectOf(id object, int depth) {
  if (object == nil || depth > kDeepestNesting) return {};
  if ([object isKindOfClass:[NSString class]]) return {stdString(object)};
  if ([object isKindOfClass:[NSNumber class]]) return numberOf(object);
  if ([object isKindOfClass:[NSData class]]) return {bytesOfData(object)};
  if ([object isKindOfClass:[NSDate class]])
    return Object::date([object timeIntervalSinceReferenceDate]);
  if ([object isKindOfClass:[NSURL class]]) return Object::orNil(urlOf(object));
  if ([object isKindOfClass:[NSError class]]) return {errorOf(object, depth)};
  if ([object isKindOfClass:[NSArray class]]) return {elementsOf(object, depth)};
  if ([object isKindOfClass:[NSSet class]]) return Object::set(elementsOf(object, depth));
  if ([object isKindOfClass:[NSDictionary class]]) return {dictionaryOf(object, depth)};
  return {};
}

// -- To the platform ------------------------------------------------------------------------------

// nil when one of them has no object of the platform: a list that is short of one is another list.
NSMutableArray* nsElements(const Object& object, int depth) {
  NSMutableArray* const elements = [NSMutableArray arrayWithCapacity:object.size()];
  for (const Object& value : object.elements()) {
    id element = nsObject(value, depth + 1);
    if (element == nil) return nil;
    [elements addObject:element];
  }
  return elements;
}

NSMutableDictionary* nsDictionary(const Object& object, int depth) {
  NSMutableDictionary* const entries = [NSMutableDictionary dictionaryWithCapacity:object.size()];
  for (const auto& [key, value] : object.dictionary().entries()) {
    id name = nsObject(key, depth + 1);
    id entry = nsObject(value, depth + 1);
    if (entry == nil || ![name respondsToSelector:@selector(copyWithZone:)]) return nil;
    [entries setObject:entry forKey:name];
  }
  return entries;
}

NSError* nsError(const Error& error, int depth) {
  NSDictionary* const info = error.userInfo.isNil() ? nil : nsDictionary(error.userInfo, depth);
  NSString* const domain = nsString(error.domain);
  if (domain == nil || (info == nil && !error.userInfo.isNil())) return nil;
  return [NSError errorWithDomain:domain code:static_cast<NSInteger>(error.code) userInfo:info];
}

NSNumber* nsNumber(const Object& object) {
  if (object.kind() == Object::Kind::Boolean) return [NSNumber numberWithBool:object.boolValue()];
  if (object.kind() == Object::Kind::Real) return [NSNumber numberWithDouble:object.doubleValue()];
  if (object.isNegative() || object.integerValue() >= 0)
    return [NSNumber numberWithLongLong:object.integerValue()];
  return [NSNumber numberWithUnsignedLongLong:object.unsignedIntegerValue()];
}

// An object of a class that the core keeps whole, such as a file identifier of the system's.
id nsOpaque(const Object& object) {
  const std::optional<Bytes> archive = KeyedArchiver::archivedData(object);
  if (!archive) return nil;
  @try {
    const auto unarchiver = Retained<NSKeyedUnarchiver*>::adopt(
        [[NSKeyedUnarchiver alloc] initForReadingFromData:nsData(*archive) error:nullptr]);
    [unarchiver.get() setRequiresSecureCoding:NO];
    // The unarchiver may be the only one that holds it.
    return [[[unarchiver.get() decodeObjectForKey:NSKeyedArchiveRootObjectKey] retain] autorelease];
  } @catch (NSException*) {
    return nil;  // no such class in this process
  }
}

id nsObject(const Object& object, int depth) {
  if (depth > kDeepestNesting) return nil;
  switch (object.kind()) {
    case Object::Kind::Absent:
      return nil;
    case Object::Kind::Boolean:
    case Object::Kind::Integer:
    case Object::Kind::Real:
      return nsNumber(object);
    case Object::Kind::String:
      return nsString(object.stringValue());
    case Object::Kind::Data:
      return nsData(*object.data());
    case Object::Kind::Date:
      return [NSDate dateWithTimeIntervalSinceReferenceDate:object.dateValue()];
    case Object::Kind::Url:
      return nsUrl(*object.url());
    case Object::Kind::Array:
      return nsElements(object, depth);
    case Object::Kind::Set: {
      NSArray* const elements = nsElements(object, depth);
      return elements == nil ? nil : [NSSet setWithArray:elements];
    }
    case Object::Kind::Dictionary:
      return nsDictionary(object, depth);
    case Object::Kind::Error:
      return nsError(*object.error(), depth);
    case Object::Kind::Archivable: {
      const auto item = object.as<MenuItem>();
      return item == nullptr ? nil : nsMenuItem(*item, MenuImages::LeftOut);
    }
    case Object::Kind::Opaque:
      return nsOpaque(object);
  }
  return nil;
}

}  // namespace

Object objectOf(id object) { return objectOf(object, 0); }

Error errorOf(NSError* error) { return errorOf(error, 0); }

id nsObject(const Object& object) { return nsObject(object, 0); }

NSData* nsArchive(id object) {
  @try {
    NSError* error = nil;
    NSData* const archive = [NSKeyedArchiver archivedDataWithRootObject:object
                                                  requiringSecureCoding:NO
                                                                  error:&error];
    if (archive == nil) NSLog(@"archiving a %@: %@", [object class], error);
    return archive;
  } @catch (NSException* exception) {
    NSLog(@"archiving a %@: %@", [object class], [exception reason]);
    return nil;
  }
}

NSData* nsData(ByteView bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }

Bytes bytesOfData(NSData* data) {
  const auto* const bytes = static_cast<const std::uint8_t*>([data bytes]);
  return {bytes, bytes + [data length]};
}

}  // namespace kelpie
