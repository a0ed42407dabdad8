#include "archive/BinaryPropertyList.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "archive/PropertyListFormat.h"
#include "foundation/Text.h"
#include "foundation/Utf16.h"

namespace kelpie {

namespace {

using Type = BinaryPropertyList::Type;

constexpr std::string_view kMagic = "bplist0";  // one more byte for the version
constexpr std::size_t kHeaderSize = 8;

// What the upper half of a marker says: the type, and how the lower half tells the size.
enum class Sizing : std::uint8_t {
  Invalid,
  Simple,      // the lower half is the value itself
  PowerOfTwo,  // 2^n bytes
  PlusOne,     // n + 1 bytes
  Counted,     // n elements; 15: the count follows as an integer object
};
struct Marker {
  Type type;
  Sizing sizing;
  std::uint8_t elementSize;  // of counted contents; 0: one reference, 0xFF: two
};
constexpr std::uint8_t kOneReference = 0;
constexpr std::uint8_t kTwoReferences = 0xFF;
constexpr Marker kMarkers[16] = {
    /* 0 */ {Type::Boolean, Sizing::Simple, 0},
    /* 1 */ {Type::Integer, Sizing::PowerOfTwo, 0},
    /* 2 */ {Type::Real, Sizing::PowerOfTwo, 0},
    /* 3 */ {Type::Date, Sizing::PowerOfTwo, 0},
    /* 4 */ {Type::Data, Sizing::Counted, 1},
    /* 5 */ {Type::Ascii, Sizing::Counted, 1},
    /* 6 */ {Type::Utf16, Sizing::Counted, 2},
    /* 7 */ {Type::None, Sizing::Invalid, 0},
    /* 8 */ {Type::Uid, Sizing::PlusOne, 0},
    /* 9 */ {Type::None, Sizing::Invalid, 0},
    /* A */ {Type::Array, Sizing::Counted, kOneReference},
    /* B */ {Type::None, Sizing::Invalid, 0},
    /* C */ {Type::Set, Sizing::Counted, kOneReference},
    /* D */ {Type::Dictionary, Sizing::Counted, kTwoReferences},
    /* E */ {Type::None, Sizing::Invalid, 0},
    /* F */ {Type::None, Sizing::Invalid, 0},
};

// Which sizes (in bytes) a value of that type may have.
constexpr bool isPossibleSize(Type type, std::uint64_t size) {
  switch (type) {
    case Type::Integer:
      return size == 1 || size == 2 || size == 4 || size == 8 || size == 16;
    case Type::Real:
      return size == 4 || size == 8;
    case Type::Date:
      return size == 8;
    case Type::Uid:
      return size <= 8;
    default:
      return true;
  }
}

// What a marker says as a whole. Every object that is read is looked up here.
struct Meaning {
  Type type = Type::None;
  std::uint8_t count = 0;       // of bytes or elements, or kCountIsBehind
  std::uint8_t bytes = 0;       // of an element, besides
  std::uint8_t references = 0;  // those in an element
  std::uint8_t contents = 1;    // where they begin, from the marker on
};
constexpr std::uint8_t kCountIsBehind = 0xFF;

constexpr Meaning meaningOf(std::uint8_t byte) {
  const Marker& marker = kMarkers[byte >> 4U];
  const std::uint8_t low = byte & 0xFU;
  switch (marker.sizing) {
    case Sizing::Invalid:
      break;
    case Sizing::Simple:
      if (byte == kFalse || byte == kTrue) return {marker.type, 1, 1, 0, 0};
      break;
    case Sizing::PowerOfTwo:
    case Sizing::PlusOne: {
      const unsigned size = marker.sizing == Sizing::PlusOne ? low + 1U : 1U << low;
      if (isPossibleSize(marker.type, size))
        return {marker.type, static_cast<std::uint8_t>(size), 1, 0, 1};
      break;
    }
    case Sizing::Counted: {
      const std::uint8_t count = low == 0xF ? kCountIsBehind : low;
      if (marker.elementSize == kOneReference) return {marker.type, count, 0, 1, 1};
      if (marker.elementSize == kTwoReferences) return {marker.type, count, 0, 2, 1};
      return {marker.type, count, marker.elementSize, 0, 1};
    }
  }
  return {};
}

constexpr std::array<Meaning, 256> kMeanings = [] {
  std::array<Meaning, 256> all{};
  for (std::size_t byte = 0; byte < all.size(); ++byte)
    all[byte] = meaningOf(static_cast<std::uint8_t>(byte));
  return all;
}();

}  // namespace

std::optional<BinaryPropertyList> BinaryPropertyList::open(ByteView bytes) {
  if (bytes.size() < kHeaderSize + kTrailerSize ||
      bytes.size() > std::numeric_limits<std::uint32_t>::max() ||
      !textOf(bytes).starts_with(kMagic))
    return std::nullopt;
  const std::size_t end = bytes.size() - kTrailerSize;

  BinaryPropertyList list;
  list.bytes_ = bytes;
  list.offsetSize_ = bytes[end + 6];
  list.referenceSize_ = bytes[end + 7];
  const std::uint64_t objectCount = list.sized(end + 8, 8);
  const std::uint64_t topNumber = list.sized(end + 16, 8);
  const std::uint64_t tableOffset = list.sized(end + 24, 8);

  const auto isSize = [](std::uint8_t size) { return 1 <= size && size <= 8; };
  if (!isSize(list.offsetSize_) || !isSize(list.referenceSize_) || tableOffset < kHeaderSize ||
      tableOffset > end || objectCount > (end - tableOffset) / list.offsetSize_ ||
      topNumber >= objectCount)
    return std::nullopt;
  list.objectCount_ = static_cast<std::uint32_t>(objectCount);
  list.topNumber_ = static_cast<std::uint32_t>(topNumber);
  list.tableOffset_ = static_cast<std::uint32_t>(tableOffset);
  return list;
}

BinaryPropertyList::Item BinaryPropertyList::itemAt(std::uint32_t offset) const {
  if (offset < kHeaderSize || offset >= tableOffset_) return {};
  const Meaning& meaning = kMeanings[bytes_[offset]];
  if (meaning.type == Type::None) return {};
  // Rare enough to stay out of the way of all others.
  if (meaning.count == kCountIsBehind) return longItemAt(offset);
  return checked(meaning.type, offset, offset + meaning.contents, meaning.count,
                 meaning.bytes + meaning.references * referenceSize_);
}

BinaryPropertyList::Item BinaryPropertyList::longItemAt(std::uint32_t offset) const {
  const Meaning& meaning = kMeanings[bytes_[offset]];
  // The count is an integer object of its own.
  const std::uint32_t integer = offset + 1;
  if (integer >= tableOffset_ || bytes_[integer] >> 4U != 0x1) return {};
  const std::size_t size = std::size_t{1} << (bytes_[integer] & 0xFU);
  if (size > 8 || size > tableOffset_ - integer - 1) return {};
  return checked(meaning.type, offset, integer + 1 + static_cast<std::uint32_t>(size),
                 sized(integer + 1, size), meaning.bytes + meaning.references * referenceSize_);
}

BinaryPropertyList::Item BinaryPropertyList::value(const Item& dictionary,
                                                   std::string_view key) const {
  if (dictionary.type != Type::Dictionary) return {};
  for (std::size_t index = 0; index < dictionary.count; ++index)
    if (isEqualToString(keyAt(dictionary, index), key)) return valueAt(dictionary, index);
  return {};
}

std::size_t BinaryPropertyList::contentSize(const Item& item) const {
  switch (item.type) {
    case Type::None:
      return 0;
    case Type::Utf16:
      return std::size_t{item.count} * 2;
    case Type::Array:
    case Type::Set:
      return std::size_t{item.count} * referenceSize_;
    case Type::Dictionary:
      return std::size_t{item.count} * 2 * referenceSize_;
    default:
      return item.count;
  }
}

bool BinaryPropertyList::boolean(const Item& item) const {
  return item.type == Type::Boolean && bytes_[item.contents] == kTrue;
}

std::uint64_t BinaryPropertyList::integer(const Item& item) const {
  if (item.type != Type::Integer) return 0;
  // Of sixteen bytes the last eight count.
  const std::uint32_t size = std::min(item.count, 8U);
  return sized(item.contents + item.count - size, size);
}

// One, two and four bytes are unsigned, eight and sixteen signed.
bool BinaryPropertyList::isNegative(const Item& integer) const {
  return integer.type == Type::Integer && integer.count >= 8 && bytes_[integer.contents] >= 0x80;
}

double BinaryPropertyList::real(const Item& item) const {
  if (item.type != Type::Real && item.type != Type::Date) return 0;
  const std::uint64_t bits = sized(item.contents, item.count);
  return item.count == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                         : std::bit_cast<double>(bits);
}

std::uint64_t BinaryPropertyList::uid(const Item& item) const {
  return item.type == Type::Uid ? sized(item.contents, item.count) : 0;
}

ByteView BinaryPropertyList::bytes(const Item& item) const {
  const bool isBytes = item.type == Type::Data || item.type == Type::Ascii;
  return isBytes ? bytes_.subspan(item.contents, item.count) : ByteView();
}

std::string BinaryPropertyList::string(const Item& item) const {
  if (item.type == Type::Utf16)
    return utf8FromUtf16(bytes_.subspan(item.contents, contentSize(item)));
  const std::string_view text = textOf(bytes(item));
  if (item.type != Type::Ascii || isAscii(text))
    return item.type == Type::Ascii ? std::string(text) : std::string();
  std::string result;
  for (const char c : text)
    if (static_cast<unsigned char>(c) < 0x80)
      result += c;
    else
      result += kReplacementCharacter;
  return result;
}

bool BinaryPropertyList::isEqualToString(const Item& item, std::string_view text) const {
  if (item.type == Type::Ascii) {
    const std::string_view own = textOf(bytes(item));
    if (own.size() == text.size()) return own == text && isAscii(own);
    // Of another length in UTF-8 only where a byte that is not ASCII was replaced.
    return !isAscii(text) && string(item) == text;
  }
  // A code unit takes one to three bytes of UTF-8.
  if (item.type != Type::Utf16 || text.size() < item.count ||
      text.size() > std::size_t{item.count} * 3)
    return false;
  return string(item) == text;
}

}  // namespace kelpie
