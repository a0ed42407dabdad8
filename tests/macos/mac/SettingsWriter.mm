#include "macos/mac/SettingsWriter.h"

#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"

namespace kelpie {
namespace {

// As text, which holds no byte that an argument cannot hold.
std::string textOfPropertyList(id value) {
  NSData* const text =
      [NSPropertyListSerialization dataWithPropertyList:value
                                                 format:NSPropertyListXMLFormat_v1_0
                                                options:0
                                                  error:nullptr];
  return {static_cast<const char*>([text bytes]), [text length]};
}

// nil when it is none.
id propertyListOfText(const std::string& text) {
  return [NSPropertyListSerialization propertyListWithData:[NSData dataWithBytes:text.data()
                                                                          length:text.size()]
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

}  // namespace

std::vector<std::string> writerArguments(NSString* suite, NSString* key, id value) {
  std::vector<std::string> arguments = {kWriterArgument, stdString(suite), stdString(key)};
  if (value != nil) arguments.push_back(textOfPropertyList(value));
  return arguments;
}

int writeSetting(const std::vector<std::string>& arguments) {
  if (arguments.size() < 3 || arguments.size() > 4) return 1;
  id value = arguments.size() == 4 ? propertyListOfText(arguments[3]) : nil;
  if (value == nil && arguments.size() == 4) return 2;
  const auto defaults = Retained<NSUserDefaults*>::adopt(
      [[NSUserDefaults alloc] initWithSuiteName:nsString(arguments[1])]);
  if (value == nil)
    [defaults.get() removeObjectForKey:nsString(arguments[2])];
  else
    [defaults.get() setObject:value forKey:nsString(arguments[2])];
  return [defaults.get() synchronize] ? 0 : 3;
}

}  // namespace kelpie
