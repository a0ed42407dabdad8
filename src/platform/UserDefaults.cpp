#include "platform/UserDefaults.h"

#include <cstddef>
#include <iomanip>
#include <locale>
#include <sstream>

namespace kelpie {
namespace {

// How the platform reads a string as a boolean: blanks, a sign and zeros in front do not count; a
// digit that is not 0, a "Y" or a "T" of either case is YES, whatever follows.
bool boolOfString(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string_view::npos) return false;
  text.remove_prefix(start);
  if (text.front() == '+' || text.front() == '-') text.remove_prefix(1);
  const std::size_t significant = text.find_first_not_of('0');
  if (significant == std::string_view::npos) return false;
  return std::string_view("YyTt123456789").find(text[significant]) != std::string_view::npos;
}

// "1" for YES; reals in at most 16 digits, as the platform writes them. (A stream, since older
// systems cannot write reals with std::to_chars.)
std::string textOfNumber(const Object& number) {
  if (number.kind() != Object::Kind::Real) return std::to_string(number.integerValue());
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << std::setprecision(16) << number.doubleValue();
  return text.str();
}

}  // namespace

bool UserDefaults::boolForKey(std::string_view key) const {
  const Object value = objectForKey(key);
  return value.isString() ? boolOfString(value.stringValue()) : value.boolValue();
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
  const Object value = objectForKey(key);
  if (value.isNumber()) return textOfNumber(value);
  return value.string();
}

Object UserDefaults::arrayForKey(std::string_view key) const {
  Object value = objectForKey(key);
  return value.isArray() ? value : Object();
}

Object UserDefaults::dictionaryForKey(std::string_view key) const {
  Object value = objectForKey(key);
  return value.isDictionary() ? value : Object();
}

}  // namespace kelpie
