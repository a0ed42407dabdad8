#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "foundation/KeyedCoder.h"

namespace kelpie {

// Keeps what an object writes of itself: the calls in their order as "integer KEY VALUE", "bool KEY
// VALUE" and "object KEY", and the objects by their keys.
class RecordingEncoder final : public KeyedEncoder {
 public:
  std::vector<std::string> calls;
  std::map<std::string, Object, std::less<>> objects;

  void encodeInteger(std::string_view key, std::int64_t value) override {
    calls.push_back("integer " + std::string(key) + " " + std::to_string(value));
  }
  void encodeBool(std::string_view key, bool value) override {
    calls.push_back("bool " + std::string(key) + (value ? " YES" : " NO"));
  }
  void encodeObject(std::string_view key, const Object& value) override {
    calls.push_back("object " + std::string(key) + (value.isNil() ? " nil" : ""));
    objects[std::string(key)] = value;
  }
  std::optional<Bytes> archivedData(const Object& root) override {
    return KeyedArchiver::archivedData(root);
  }
};

}  // namespace kelpie
