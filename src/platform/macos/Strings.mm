#include "platform/macos/Strings.h"

namespace kelpie {

NSString* nsString(std::string_view text) {
  return [[[NSString alloc] initWithBytes:text.data()
                                   length:text.size()
                                 encoding:NSUTF8StringEncoding] autorelease];
}

std::string stdString(NSString* text) {
  const char* const bytes = [text UTF8String];
  if (bytes == nullptr) return {};
  return {bytes, [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding]};
}

}  // namespace kelpie
