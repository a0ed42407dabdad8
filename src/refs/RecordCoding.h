#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/KeyedCoder.h"
#include "foundation/Object.h"

namespace kelpie {

// How the optional values of the records stand in an archive. Any thread.

// The string under `key`; absent for a missing key and for a value of another class.
inline std::optional<std::string> decodeString(const KeyedDecoder& coder, std::string_view key) {
  return coder.decodeObject(key).string();
}

// Writes `value`, or nil when it is absent.
template <class Value>
void encodeOptional(KeyedEncoder& coder, std::string_view key, const std::optional<Value>& value) {
  coder.encodeObject(key, value ? Object(*value) : Object());
}

}  // namespace kelpie
