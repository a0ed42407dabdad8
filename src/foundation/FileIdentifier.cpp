#include "foundation/FileIdentifier.h"

#include <algorithm>
#include <string_view>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"

namespace kelpie {

FileIdentifier::FileIdentifier(ByteView bytes) : FileIdentifier(bytes, false) {}

FileIdentifier::FileIdentifier(ByteView bytes, bool archivedForm) : archivedForm_(archivedForm) {
  if (bytes.size() <= kInlineSize) {
    std::copy(bytes.begin(), bytes.end(), inline_.begin());
    inlineSize_ = static_cast<std::uint8_t>(bytes.size());
  } else {
    long_ = std::make_shared<const std::string>(textOf(bytes));
  }
}

std::optional<FileIdentifier> FileIdentifier::fromObject(const Object& object) {
  if (const auto data = ObjectView(object).data()) return FileIdentifier(*data);
  if (object.isNil()) return std::nullopt;
  const auto archive = KeyedArchiver::archivedData(object);
  return archive ? std::optional(FileIdentifier(*archive, true)) : std::nullopt;
}

Object FileIdentifier::toObject() const {
  if (archivedForm_) return KeyedUnarchiver::unarchiveObject(bytes());
  return {Bytes(bytes().begin(), bytes().end())};
}

ByteView FileIdentifier::bytes() const {
  return long_ != nullptr ? bytesOf(*long_) : ByteView(inline_.data(), inlineSize_);
}

std::size_t FileIdentifier::hash() const { return std::hash<std::string_view>{}(textOf(bytes())); }

bool operator==(const FileIdentifier& a, const FileIdentifier& b) {
  const ByteView bytesA = a.bytes();
  const ByteView bytesB = b.bytes();
  return a.archivedForm_ == b.archivedForm_ &&
         std::equal(bytesA.begin(), bytesA.end(), bytesB.begin(), bytesB.end());
}

}  // namespace kelpie
