#include "support/RawPropertyList.h"

#include <bit>

namespace kelpie {
namespace {

void appendSized(Bytes& bytes, std::uint64_t value, std::size_t size) {
  for (std::size_t index = size; index-- > 0;)
    bytes.push_back(index < 8 ? static_cast<std::uint8_t>(value >> (8 * index)) : 0);
}

Bytes counted(std::uint8_t marker, std::uint64_t count) {
  if (count < 15) return {static_cast<std::uint8_t>(marker | count)};
  Bytes bytes = {static_cast<std::uint8_t>(marker | 15), 0x13};
  appendSized(bytes, count, 8);
  return bytes;
}

}  // namespace

RawPropertyList::RawPropertyList(std::size_t referenceSize, std::size_t offsetSize)
    : referenceSize_(referenceSize),
      offsetSize_(offsetSize),
      objects_({'b', 'p', 'l', 'i', 's', 't', '0', '0'}) {}

RawPropertyList::Number RawPropertyList::raw(const Bytes& bytes) {
  offsets_.push_back(objects_.size());
  objects_.insert(objects_.end(), bytes.begin(), bytes.end());
  return static_cast<Number>(offsets_.size() - 1);
}

RawPropertyList::Number RawPropertyList::alias(Number number) {
  offsets_.push_back(offsets_[number]);
  return static_cast<Number>(offsets_.size() - 1);
}

RawPropertyList::Number RawPropertyList::integer(std::uint64_t value, std::size_t size,
                                                 std::uint64_t upper) {
  Bytes bytes = {static_cast<std::uint8_t>(0x10 | std::countr_zero(size))};
  if (size == 16) appendSized(bytes, upper, 8);
  appendSized(bytes, value, size == 16 ? 8 : size);
  return raw(bytes);
}

RawPropertyList::Number RawPropertyList::real(double value) {
  Bytes bytes = {0x23};
  appendSized(bytes, std::bit_cast<std::uint64_t>(value), 8);
  return raw(bytes);
}

RawPropertyList::Number RawPropertyList::shortReal(float value) {
  Bytes bytes = {0x22};
  appendSized(bytes, std::bit_cast<std::uint32_t>(value), 4);
  return raw(bytes);
}

RawPropertyList::Number RawPropertyList::date(double seconds) {
  Bytes bytes = {0x33};
  appendSized(bytes, std::bit_cast<std::uint64_t>(seconds), 8);
  return raw(bytes);
}

RawPropertyList::Number RawPropertyList::ascii(std::string_view text) {
  const ByteView bytes = bytesOf(text);
  return claim(0x50, text.size(), Bytes(bytes.begin(), bytes.end()));
}

RawPropertyList::Number RawPropertyList::utf16(const std::u16string& text) {
  Bytes bytes;
  for (const char16_t unit : text) appendSized(bytes, unit, 2);
  return claim(0x60, text.size(), bytes);
}

RawPropertyList::Number RawPropertyList::data(const Bytes& bytes) {
  return claim(0x40, bytes.size(), bytes);
}

RawPropertyList::Number RawPropertyList::uid(std::uint64_t value, std::size_t width) {
  Bytes bytes = {static_cast<std::uint8_t>(0x80 | (width - 1))};
  appendSized(bytes, value, width);
  return raw(bytes);
}

RawPropertyList::Number RawPropertyList::array(const std::vector<Number>& elements) {
  Bytes bytes;
  for (const Number element : elements) appendReference(bytes, element);
  return claim(0xA0, elements.size(), bytes);
}

RawPropertyList::Number RawPropertyList::dictionary(
    const std::vector<std::pair<Number, Number>>& entries) {
  Bytes bytes;
  for (const auto& [key, value] : entries) appendReference(bytes, key);
  for (const auto& [key, value] : entries) appendReference(bytes, value);
  return claim(0xD0, entries.size(), bytes);
}

RawPropertyList::Number RawPropertyList::dictionary(
    const std::vector<std::pair<std::string, Number>>& entries) {
  std::vector<std::pair<Number, Number>> numbers;
  for (const auto& [key, value] : entries) numbers.emplace_back(ascii(key), value);
  return dictionary(numbers);
}

RawPropertyList::Number RawPropertyList::claim(std::uint8_t marker, std::uint64_t count,
                                               const Bytes& contents) {
  Bytes bytes = counted(marker, count);
  bytes.insert(bytes.end(), contents.begin(), contents.end());
  return raw(bytes);
}

Bytes RawPropertyList::finish(Number top) const {
  Bytes list = objects_;
  for (const std::uint64_t offset : offsets_) appendSized(list, offset, offsetSize_);
  appendSized(list, 0, 6);
  list.push_back(static_cast<std::uint8_t>(offsetSize_));
  list.push_back(static_cast<std::uint8_t>(referenceSize_));
  appendSized(list, offsets_.size(), 8);
  appendSized(list, top, 8);
  appendSized(list, objects_.size(), 8);
  return list;
}

void RawPropertyList::setField(Bytes& list, std::size_t fromEnd, std::uint64_t value) {
  for (std::size_t index = 0; index < 8; ++index)
    list[list.size() - fromEnd + index] = static_cast<std::uint8_t>(value >> (8 * (7 - index)));
}

void RawPropertyList::appendReference(Bytes& bytes, Number number) const {
  appendSized(bytes, number, referenceSize_);
}

// -- RawArchive ----------------------------------------------------------------------------------

RawArchive::RawArchive(std::size_t referenceSize, std::size_t uidWidth)
    : list(referenceSize), uidWidth_(uidWidth) {
  objects_.push_back(list.ascii("$null"));
}

std::uint32_t RawArchive::reserve() { return add(0); }

std::uint32_t RawArchive::add(Number object) {
  objects_.push_back(object);
  return static_cast<std::uint32_t>(objects_.size() - 1);
}

RawArchive::Number RawArchive::references(const std::vector<std::uint32_t>& uids) {
  std::vector<Number> numbers;
  numbers.reserve(uids.size());
  for (const std::uint32_t uid : uids) numbers.push_back(reference(uid));
  return list.array(numbers);
}

std::uint32_t RawArchive::classNamed(const std::vector<std::string>& names) {
  for (const auto& [known, uid] : classes_)
    if (known == names) return uid;
  std::vector<Number> numbers;
  for (const std::string& name : names) numbers.push_back(list.ascii(name));
  const Number all = list.array(numbers);
  const std::uint32_t uid =
      add(list.dictionary({{"$classname", numbers.front()}, {"$classes", all}}));
  classes_.emplace_back(names, uid);
  return uid;
}

RawArchive::Number RawArchive::object(const std::vector<std::string>& classNames,
                                      std::vector<std::pair<std::string, Number>> fields) {
  fields.emplace_back("$class", reference(classNamed(classNames)));
  return list.dictionary(fields);
}

std::uint32_t RawArchive::addObject(const std::vector<std::string>& classNames,
                                    std::vector<std::pair<std::string, Number>> fields) {
  const Number made = object(classNames, std::move(fields));
  return add(made);
}

std::uint32_t RawArchive::addArray(const std::vector<std::uint32_t>& elements) {
  return addObject({"NSArray", "NSObject"}, {{"NS.objects", references(elements)}});
}

std::uint32_t RawArchive::addDictionary(const std::vector<std::uint32_t>& keys,
                                        const std::vector<std::uint32_t>& values) {
  const Number keyNumbers = references(keys);
  return addObject({"NSDictionary", "NSObject"},
                   {{"NS.keys", keyNumbers}, {"NS.objects", references(values)}});
}

std::uint32_t RawArchive::addUrl(std::uint32_t base, std::string_view relative) {
  const std::uint32_t text = addString(relative);
  const Number baseNumber = reference(base);
  return addObject({"NSURL", "NSObject"},
                   {{"NS.base", baseNumber}, {"NS.relative", reference(text)}});
}

Bytes RawArchive::finish(std::uint32_t root) {
  const Number objects = list.array(objects_);
  const Number top = list.dictionary({{"root", list.uid(root, 4)}});
  const Number version = list.integer(100000, 4);
  return list.finish(list.dictionary({{"$version", version},
                                      {"$archiver", list.ascii("NSKeyedArchiver")},
                                      {"$top", top},
                                      {"$objects", objects}}));
}

}  // namespace kelpie
