#include "archive/ArchiveDecoder.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/ClassTable.h"
#include "archive/KeyedUnarchiver.h"
#include "archive/PropertyListDecoder.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/KeyedCoder.h"
#include "foundation/OpaqueObject.h"

namespace kelpie {

namespace {

using Type = BinaryPropertyList::Type;
using Item = BinaryPropertyList::Item;
using Kind = Object::Kind;

// The keys of one object, as its class reads them.
class FieldDecoder : public KeyedDecoder {
 public:
  FieldDecoder(ArchiveDecoder& decoder, const ArchivedValue& object)
      : decoder_(decoder), reader_(decoder.reader()), object_(object) {}

  std::int64_t decodeInteger(std::string_view key) const override {
    return view(key).integerValue();
  }
  bool decodeBool(std::string_view key) const override { return view(key).boolValue(); }
  Object decodeObject(std::string_view key) const override;
  void decodeElements(std::string_view key,
                      FunctionRef<void(const Object& element)> visit) const override;
  bool charge(std::uint64_t byteCount) const override { return reader_.budget().charge(byteCount); }
  void decodeNestedRoots(std::string_view key,
                         FunctionRef<void(const Object& root)> visit) const override;

 private:
  ObjectView view(std::string_view key) const { return reader_.view(reader_.field(object_, key)); }

  ArchiveDecoder& decoder_;
  const ArchiveReader& reader_;
  ArchivedValue object_;
};

Object FieldDecoder::decodeObject(std::string_view key) const {
  const ArchivedValue value = reader_.field(object_, key);
  Object object = decoder_.objectOf(value);
  // One text may stand under the keys of many objects, and each keeps a copy of its own, and what
  // is made of it for a menu.
  constexpr std::uint64_t kCopies = 2;
  if (object.isString() || object.kind() == Kind::Data) {
    const ArchivedContent content = reader_.content(value);
    reader_.budget().charge(kCopies * reader_.list().contentSize(content.item));
  }
  return object;
}

void FieldDecoder::decodeElements(std::string_view key,
                                  FunctionRef<void(const Object& element)> visit) const {
  const ArchivedValue array = reader_.field(object_, key);
  const ArchivedContent content = reader_.content(array);
  if (content.kind != Kind::Array) return;
  for (std::size_t index = 0; index < content.item.count; ++index) {
    if (!reader_.budget().charge(ReadingBudget::kElement)) return;
    visit(decoder_.objectOf(reader_.element(array, content.item, index)));
  }
}

void FieldDecoder::decodeNestedRoots(std::string_view key,
                                     FunctionRef<void(const Object& root)> visit) const {
  const ArchivedValue array = reader_.field(object_, key);
  const ArchivedContent content = reader_.content(array);
  if (content.kind != Kind::Array) return;
  for (std::size_t index = 0; index < content.item.count; ++index) {
    if (!reader_.budget().charge(ReadingBudget::kSlot)) return;
    const ArchivedContent element = reader_.content(reader_.element(array, content.item, index));
    // Read where it stands rather than copied first.
    if (element.kind == Kind::Data) visit(decoder_.unarchive(reader_.nestedArchive(element)));
  }
}

}  // namespace

ArchiveDecoder::ArchiveDecoder(ByteView archive, DecodingLimits& limits)
    : limits_(limits),
      reader_(archive, *this, limits.budget),
      comparison_(DecodingLimits::comparisons(archive.size())) {}

Object ArchiveDecoder::root() {
  Object result = objectOf(reader_.root());
  return isRefused() ? Object() : result;
}

Object ArchiveDecoder::unarchive(ByteView archive) {
  if (limits_.nesting == KeyedUnarchiver::kMaximumNesting ||
      !limits_.budget.charge(ReadingBudget::kOpening))
    return {};
  ++limits_.nesting;
  Object result = ArchiveDecoder(archive, limits_).root();
  --limits_.nesting;
  return result;
}

Object ArchiveDecoder::objectOf(const ArchivedValue& value) {
  const ArchivedContent content = reader_.content(value);
  switch (content.kind) {
    case Kind::Absent:
    case Kind::Boolean:
    case Kind::Integer:
    case Kind::Real:
    case Kind::Date:
      return reader_.plainObject(content);
    case Kind::String:
    case Kind::Data:
      // A mutable value is an object of its own even where two have their bytes in common.
      return content.isMutable ? sharedObject(value, content) : text(value, content);
    default:
      return sharedObject(value, content);
  }
}

Object ArchiveDecoder::text(const ArchivedValue& value, const ArchivedContent& content) {
  const auto known = texts_.find(content.item.offset);
  // The same bytes may be read as a string here and as data there.
  if (known != texts_.end() && known->second.kind() == content.kind) return known->second;
  Object made = make(value, content);
  texts_.insert_or_assign(content.item.offset, made);
  return made;
}

Object ArchiveDecoder::sharedObject(const ArchivedValue& value, const ArchivedContent& content) {
  const auto known = objects_.find(value.uid);
  if (known != objects_.end()) return known->second;
  if (limits_.depth == DecodingLimits::kMaximumDepth) {
    isTooDeep_ = true;
    return {};
  }
  ++limits_.depth;
  Object made = make(value, content);
  --limits_.depth;
  objects_.emplace(value.uid, made);
  return made;
}

Object ArchiveDecoder::make(const ArchivedValue& value, const ArchivedContent& content) {
  const BinaryPropertyList& list = reader_.list();
  const bool isPlain = content.kind == Kind::String || content.kind == Kind::Data;
  // The texts are charged as they are copied, the rest by what stands there.
  const std::uint64_t size =
      isPlain ? 0 : list.contentSize(content.item) + list.contentSize(content.values);
  if (isTooDeep_ || !limits_.budget.charge(ReadingBudget::kObject + size)) return {};

  Object made;
  switch (content.kind) {
    case Kind::String:
    case Kind::Data:
      return reader_.plainObject(content);
    case Kind::Array:
      made = elements(value, content.item);
      break;
    case Kind::Set:
      made = makeSet(value, content);
      break;
    case Kind::Dictionary:
      made = makeDictionary(value, content);
      break;
    case Kind::Url:
      return makeUrl(value);
    case Kind::Error:
      return makeError(value);
    case Kind::Archivable:
      return makeArchivable(value);
    case Kind::Opaque:
      return makeOpaque(value, content);
    default:
      return {};
  }
  if (content.isMutable) made.setMutable();
  return made;
}

Objects ArchiveDecoder::elements(const ArchivedValue& value, const Item& item) {
  Objects result;
  if (!limits_.budget.charge(item.count * ReadingBudget::kSlot)) return result;
  result.reserve(item.count);
  for (std::size_t index = 0; index < item.count; ++index)
    result.push_back(objectOf(reader_.element(value, item, index)));
  return result;
}

Object ArchiveDecoder::makeSet(const ArchivedValue& value, const ArchivedContent& content) {
  Objects members = elements(value, content.item);
  std::erase_if(members, [](const Object& member) { return member.isNil(); });
  return Object::set(std::move(members));
}

Object ArchiveDecoder::makeDictionary(const ArchivedValue& value, const ArchivedContent& content) {
  Dictionary entries;
  constexpr std::uint64_t kEntry = 2 * ReadingBudget::kSlot + ReadingBudget::kElement;
  for (std::size_t index = 0; index < content.item.count; ++index) {
    if (!limits_.budget.charge(kEntry)) break;
    Object key = objectOf(reader_.element(value, content.item, index));
    Object entry = objectOf(reader_.element(value, content.values, index));
    if (!key.isNil() && !entry.isNil()) entries.set(std::move(key), std::move(entry), comparison_);
  }
  return entries;
}

Object ArchiveDecoder::makeUrl(const ArchivedValue& value) {
  const ArchivedContent relative = reader_.content(reader_.field(value, "NS.relative"));
  const ArchivedValue baseValue = reader_.field(value, "NS.base");
  if (relative.kind != Kind::String) return {};
  if (baseValue.offset == 0) return Object::orNil(reader_.makeUrl(relative, std::nullopt));

  const auto base = objectOf(baseValue).url();
  // It is kept, unlike one that is made to look at its path.
  if (!base || !limits_.budget.charge(base->absoluteString().size())) return {};
  return Object::orNil(reader_.makeUrl(relative, base));
}

Object ArchiveDecoder::makeError(const ArchivedValue& value) {
  const FieldDecoder coder(*this, value);
  Error error{coder.decodeObject("NSDomain").stringValue(), coder.decodeInteger("NSCode"),
              coder.decodeObject("NSUserInfo")};
  if (!error.userInfo.isDictionary()) error.userInfo = {};
  return error;
}

Object ArchiveDecoder::makeArchivable(const ArchivedValue& value) {
  ClassTable::Factory factory;
  reader_.forEachClassName(value, [&](const std::string& name) {
    factory = ClassTable::shared().find(name);
    return factory == nullptr;
  });
  if (factory == nullptr || !limits_.budget.charge(ReadingBudget::kRecord)) return {};
  return {factory(FieldDecoder(*this, value))};
}

Object ArchiveDecoder::makeOpaque(const ArchivedValue& value, const ArchivedContent& content) {
  const BinaryPropertyList& list = reader_.list();
  constexpr std::uint64_t kField = 2 * sizeof(OpaqueObject::Field);
  OpaqueObject object;
  reader_.forEachClassName(value, [&](const std::string& name) {
    object.classNames.push_back(name);
    return limits_.budget.charge(kField + name.size());
  });
  for (std::size_t index = 0; index < content.item.count; ++index) {
    const Item key = list.keyAt(content.item, index);
    if (!list.isString(key) || list.isEqualToString(key, "$class")) continue;
    if (!limits_.budget.charge(kField + list.contentSize(key))) break;
    OpaqueObject::Field field = opaqueField(value, content.item, index);
    // A value of no known type, where nothing but a reference may be nil.
    if (field.form == OpaqueObject::Form::Inline && field.value.isNil()) continue;
    field.key = list.string(key);
    object.values.push_back(std::move(field));
  }
  return object;
}

OpaqueObject::Field ArchiveDecoder::opaqueField(const ArchivedValue& value, const Item& object,
                                                std::size_t index) {
  const BinaryPropertyList& list = reader_.list();
  const std::uint32_t number = list.number(object, object.count + index);
  const Item item = list.item(number);
  if (item.type == Type::Uid)
    return {{}, objectOf(reader_.follow(value.uid, number)), OpaqueObject::Form::Reference};
  if (item.type == Type::Array && limits_.budget.charge(list.contentSize(item))) {
    bool areReferences = true;
    for (std::size_t element = 0; element < item.count && areReferences; ++element)
      areReferences = list.item(list.number(item, element)).type == Type::Uid;
    if (areReferences) return {{}, elements(value, item), OpaqueObject::Form::References};
  }
  PropertyListDecoder decoder(list, limits_);
  Object plain = decoder.object(item);
  if (decoder.isRefused()) isTooDeep_ = true;
  return {{}, std::move(plain), OpaqueObject::Form::Inline};
}

}  // namespace kelpie
