#include "platform/macos/Urls.h"

#include "platform/macos/Strings.h"

namespace kelpie {

NSURL* nsUrl(const URL& url) {
  NSString* const text = nsString(url.absoluteString());
  return text == nil ? nil : [NSURL URLWithString:text];
}

std::optional<URL> urlOf(NSURL* url) {
  if (![url isKindOfClass:[NSURL class]]) return std::nullopt;
  NSURL* const path = [url isFileReferenceURL] ? [url filePathURL] : url;
  return path == nil ? std::nullopt : URL::fromString(stdString([path absoluteString]));
}

id resourceValue(NSURL* url, NSString* key) {
  id value = nil;
  return [url getResourceValue:&value forKey:key error:nullptr] ? value : nil;
}

std::vector<URL> urlsOf(id<NSFastEnumeration> urls) {
  std::vector<URL> result;
  for (NSURL* element in urls)
    if (std::optional<URL> url = urlOf(element)) result.push_back(*std::move(url));
  return result;
}

}  // namespace kelpie
