#include "platform/macos/SystemLog.h"

#import <Foundation/Foundation.h>

#include <string>

#include "foundation/Text.h"
#include "platform/macos/Strings.h"

namespace kelpie {
namespace {

constexpr std::size_t kLongestLine = 4096;

void appendEscaped(std::string& text, char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  if (byte >= ' ' && byte != 0x7F) {
    text += c;
    return;
  }
  text += "\\x";
  text += kDigits[byte >> 4U];
  text += kDigits[byte & 0x0FU];
}

}  // namespace

void writeSystemLog(std::string_view line) {
  @autoreleasepool {
    std::string text;
    for (const char c : line.substr(0, kLongestLine)) appendEscaped(text, c);
    NSLog(@"%@", nsString(displayText(text)));
  }
}

}  // namespace kelpie
