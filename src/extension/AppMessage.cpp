#include "extension/AppMessage.h"

#include "foundation/Error.h"
#include "foundation/Text.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"

namespace kelpie {

namespace {

constexpr std::string_view kDescription = "Finder extension failed to send message to application";

std::string escapedControl(char character) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto code = static_cast<unsigned char>(character);
  return std::string("\\u00") + kDigits[code >> 4U] + kDigits[code & 0xFU];
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string json = "\"";
  for (const char character : displayText(text)) {
    if (character == '"' || character == '\\') {
      json += '\\';
      json += character;
    } else if (static_cast<unsigned char>(character) < 0x20) {
      json += escapedControl(character);
    } else {
      json += character;
    }
  }
  return json + '"';
}

std::string appMessage(std::string_view suggestion) {
  return "{" + jsonString(kMessageSelectorKey) + ":" + jsonString(selector::kShowError) + "," +
         jsonString(kMessageArgumentKey) + ":{" + jsonString(kLocalizedDescriptionKey) + ":" +
         jsonString(kDescription) + "," + jsonString(kLocalizedRecoverySuggestionErrorKey) + ":" +
         jsonString(suggestion) + "}}";
}

}  // namespace kelpie
