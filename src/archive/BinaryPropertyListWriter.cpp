#include "archive/BinaryPropertyListWriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <limits>

#include "archive/PropertyListFormat.h"
#include "foundation/Utf16.h"

namespace kelpie {

namespace {

constexpr std::string_view kHeader = "bplist00";
// Longer data is unlikely to be met again.
constexpr std::size_t kShortData = 64;

// The markers of what has contents.
enum : std::uint8_t {
  kInteger = 0x10,  // | log2 of the size
  kReal = 0x23,
  kDate = 0x33,
  kData = 0x40,  // | count, as all below
  kAscii = 0x50,
  kUtf16 = 0x60,
  kUid = 0x80,  // | size - 1
  kArray = 0xA0,
  kDictionary = 0xD0,
};
constexpr std::uint64_t kCountFollows = 15;

// `size` is 8 at most.
void appendSized(Bytes& bytes, std::uint64_t value, std::size_t size) {
  std::array<std::uint8_t, 8> digits{};
  for (std::size_t index = 0; index < size; ++index)
    digits.at(index) = static_cast<std::uint8_t>(value >> (8 * (size - 1 - index)));
  bytes.insert(bytes.end(), digits.begin(), digits.begin() + static_cast<std::ptrdiff_t>(size));
}

// Each in `size` bytes, 8 at most.
template <class Value>
void appendAllSized(Bytes& bytes, std::span<const Value> values, std::size_t size) {
  std::size_t end = bytes.size();
  bytes.resize(end + values.size() * size);
  for (std::uint64_t value : values) {
    end += size;
    for (std::size_t index = 1; index <= size; ++index, value >>= 8)
      bytes[end - index] = static_cast<std::uint8_t>(value);
  }
}

// How many bytes are enough for every number up to `value`.
std::size_t sizeFor(std::uint64_t value) {
  std::size_t size = 1;
  while (size < 8 && value >> (8 * size) != 0) ++size;
  return size;
}

// The exponent of the size of an integer object; those of 1, 2 and 4 bytes are unsigned.
std::uint8_t exponentFor(std::uint64_t value) {
  if (value <= 0xFF) return 0;
  if (value <= 0xFFFF) return 1;
  return value <= 0xFFFFFFFF ? 2 : 3;
}

void appendInteger(Bytes& bytes, std::uint64_t value) {
  const std::uint8_t exponent = exponentFor(value);
  bytes.push_back(kInteger | exponent);
  appendSized(bytes, value, std::size_t{1} << exponent);
}

// A marker with its count, which stands behind it when it does not fit.
void appendMarker(Bytes& bytes, std::uint8_t marker, std::uint64_t count) {
  bytes.push_back(static_cast<std::uint8_t>(marker | std::min(count, kCountFollows)));
  if (count >= kCountFollows) appendInteger(bytes, count);
}

// The same, and what is counted.
void appendCounted(Bytes& bytes, std::uint8_t marker, ByteView contents, std::uint64_t count) {
  appendMarker(bytes, marker, count);
  bytes.insert(bytes.end(), contents.begin(), contents.end());
}

}  // namespace

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addScalar(std::size_t begin) {
  entries_.push_back({Form::Scalar, begin, scalars_.size() - begin});
  return static_cast<Number>(entries_.size() - 1);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addScalarOnce(std::size_t begin) {
  const ByteView bytes = ByteView(scalars_).subspan(begin);
  const std::size_t hash = std::hash<std::string_view>()(textOf(bytes));
  const auto known = known_.find(hash, [&](std::size_t number) {
    return std::ranges::equal(bytesOfScalar(entries_[number]), bytes);
  });
  if (known) {
    scalars_.resize(begin);
    return static_cast<Number>(*known);
  }
  known_.add(hash, entries_.size());
  return addScalar(begin);
}

ByteView BinaryPropertyListWriter::bytesOfScalar(const Entry& entry) const {
  return ByteView(scalars_).subspan(entry.begin, entry.count);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addBoolean(bool value) {
  const std::size_t begin = scalars_.size();
  scalars_.push_back(value ? kTrue : kFalse);
  return addScalarOnce(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addInteger(std::int64_t value) {
  const std::size_t begin = scalars_.size();
  appendInteger(scalars_, static_cast<std::uint64_t>(value));
  return addScalarOnce(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addUnsigned(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
    return addInteger(static_cast<std::int64_t>(value));
  // Eight bytes are signed, so the next size it is.
  const std::size_t begin = scalars_.size();
  scalars_.push_back(kInteger | 4);
  appendSized(scalars_, 0, 8);
  appendSized(scalars_, value, 8);
  return addScalarOnce(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addReal(double value) {
  const std::size_t begin = scalars_.size();
  scalars_.push_back(kReal);
  appendSized(scalars_, std::bit_cast<std::uint64_t>(value), 8);
  return addScalarOnce(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addDate(
    double secondsSinceReferenceDate) {
  const std::size_t begin = scalars_.size();
  scalars_.push_back(kDate);
  appendSized(scalars_, std::bit_cast<std::uint64_t>(secondsSinceReferenceDate), 8);
  return addScalar(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addString(std::string_view text) {
  const std::size_t begin = scalars_.size();
  if (isAscii(text)) {
    appendCounted(scalars_, kAscii, bytesOf(text), text.size());
  } else {
    Bytes codeUnits;
    appendUtf16(codeUnits, text);
    appendCounted(scalars_, kUtf16, codeUnits, codeUnits.size() / 2);
  }
  return addScalarOnce(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addData(ByteView bytes) {
  const std::size_t begin = scalars_.size();
  appendCounted(scalars_, kData, bytes, bytes.size());
  return bytes.size() > kShortData ? addScalar(begin) : addScalarOnce(begin);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addUid(std::uint32_t uid) {
  if (uid >= uids_.size()) uids_.resize(std::max<std::size_t>(uid + 1, 2 * uids_.size()));
  std::optional<Number>& known = uids_[uid];
  if (!known) {
    const std::size_t begin = scalars_.size();
    const std::size_t size = sizeFor(uid);
    scalars_.push_back(static_cast<std::uint8_t>(kUid | (size - 1)));
    appendSized(scalars_, uid, size);
    known = addScalar(begin);
  }
  return *known;
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addArray(
    std::span<const Number> elements) {
  entries_.push_back({Form::Array, references_.size(), elements.size()});
  references_.insert(references_.end(), elements.begin(), elements.end());
  return static_cast<Number>(entries_.size() - 1);
}

BinaryPropertyListWriter::Number BinaryPropertyListWriter::addDictionary(
    std::span<const Number> keys, std::span<const Number> values) {
  entries_.push_back({Form::Dictionary, references_.size(), keys.size()});
  references_.insert(references_.end(), keys.begin(), keys.end());
  references_.insert(references_.end(), values.begin(), values.end());
  return static_cast<Number>(entries_.size() - 1);
}

Bytes BinaryPropertyListWriter::finish(Number top) const {
  const std::size_t referenceSize = sizeFor(entries_.size() - 1);
  const ByteView header = bytesOf(kHeader);
  Bytes result(header.begin(), header.end());
  // Markers and counts of containers take 10 bytes at most, offsets hardly ever more than 4.
  result.reserve(header.size() + scalars_.size() + references_.size() * referenceSize +
                 entries_.size() * 8 + kTrailerSize);

  std::vector<std::uint64_t> offsets;
  offsets.reserve(entries_.size());
  for (const Entry& entry : entries_) {
    offsets.push_back(result.size());
    if (entry.form == Form::Scalar) {
      const ByteView bytes = bytesOfScalar(entry);
      result.insert(result.end(), bytes.begin(), bytes.end());
      continue;
    }
    appendMarker(result, entry.form == Form::Array ? kArray : kDictionary, entry.count);
    const std::uint64_t count = entry.form == Form::Array ? entry.count : 2 * entry.count;
    appendAllSized(result, std::span(references_).subspan(entry.begin, count), referenceSize);
  }

  const std::size_t tableOffset = result.size();
  const std::size_t offsetSize = sizeFor(tableOffset);
  appendAllSized(result, std::span<const std::uint64_t>(offsets), offsetSize);
  appendSized(result, 0, 6);
  result.push_back(static_cast<std::uint8_t>(offsetSize));
  result.push_back(static_cast<std::uint8_t>(referenceSize));
  appendSized(result, entries_.size(), 8);
  appendSized(result, top, 8);
  appendSized(result, tableOffset, 8);
  return result;
}

}  // namespace kelpie
