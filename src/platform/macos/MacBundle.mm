#include "platform/macos/MacBundle.h"

#import <Foundation/Foundation.h>

#include "Configuration.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"

namespace kelpie {

std::string MacBundle::identifier() const {
  return stdString([[NSBundle mainBundle] bundleIdentifier]);
}

std::string MacBundle::applicationIdentifier() const { return std::string(kApplicationIdentifier); }

std::optional<std::string> MacBundle::infoString(std::string_view key) const {
  return objectOf([[NSBundle mainBundle] objectForInfoDictionaryKey:nsString(key)]).string();
}

bool MacBundle::hasSystemSymbols() const {
  if (@available(macOS 11.0, *)) return true;
  return false;
}

}  // namespace kelpie
