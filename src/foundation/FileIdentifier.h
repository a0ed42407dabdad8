#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Bytes.h"

namespace kelpie {

class Object;

// The opaque value that names a file on its volume, however its path is written. It keys the
// tables of shown folders, of repositories and of item status, and travels as "KPMessageTarget".
// Cheap to copy: up to 16 bytes (all that Linux has) stand in the value itself. Immutable, so
// safe from any thread.
class FileIdentifier {
 public:
  static constexpr std::size_t kInlineSize = 16;

  // The identifier that is archived as the data `bytes`.
  explicit FileIdentifier(ByteView bytes);

  // The identifier that a message or an archive holds: data stands for itself, an object of any
  // other class is known by its archived form. Absent for nil.
  static std::optional<FileIdentifier> fromObject(const Object& object);

  // The object to put into a message: the data, or the object whose archived form this is.
  Object toObject() const;

  // The bytes that equality compares. Borrowed from this value.
  ByteView bytes() const;

  // True when `bytes()` is the archived form of an object other than data.
  bool isArchivedForm() const { return archivedForm_; }

  std::size_t hash() const;
  friend bool operator==(const FileIdentifier& a, const FileIdentifier& b);

 private:
  FileIdentifier(ByteView bytes, bool archivedForm);

  std::array<std::uint8_t, kInlineSize> inline_{};
  std::uint8_t inlineSize_ = 0;  // meaningful while long_ is null
  bool archivedForm_ = false;
  std::shared_ptr<const std::string> long_;  // more than kInlineSize bytes
};

}  // namespace kelpie

template <>
struct std::hash<kelpie::FileIdentifier> {
  std::size_t operator()(const kelpie::FileIdentifier& value) const noexcept {
    return value.hash();
  }
};
