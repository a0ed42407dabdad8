#include "archive/ArchiveWriter.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <span>

#include "archive/ArchiveClasses.h"
#include "archive/DecodingLimits.h"
#include "archive/KeyedUnarchiver.h"
#include "archive/PropertyListEncoder.h"
#include "foundation/Archivable.h"
#include "foundation/Error.h"
#include "foundation/KeyedCoder.h"

namespace kelpie {

namespace {

using Kind = Object::Kind;

constexpr std::string_view kRootClass = "NSObject";

// The names of the class that a value of this kind has in an archive: a mutable class, the
// immutable one that it is derived from, and the root class.
std::vector<std::string_view> classNames(Kind kind, bool isMutable) {
  std::vector<std::string_view> names;
  for (const bool mutability : {true, false}) {
    if (mutability && !isMutable) continue;
    const auto* const found = std::find_if(
        std::begin(kArchiveClasses), std::end(kArchiveClasses), [&](const ArchiveClass& candidate) {
          return candidate.kind == kind && candidate.isMutable == mutability;
        });
    if (found != std::end(kArchiveClasses)) names.push_back(found->name);
  }
  names.push_back(kRootClass);
  return names;
}

}  // namespace

// The keys of one object, as they are collected: on top of those of the objects that hold it.
class ArchiveWriter::Fields : public KeyedEncoder {
 public:
  explicit Fields(ArchiveWriter& writer) : writer_(writer), first_(writer.keys_.size()) {}
  ~Fields() override {
    writer_.keys_.resize(first_);
    writer_.values_.resize(first_);
  }
  Fields(const Fields&) = delete;
  Fields& operator=(const Fields&) = delete;

  void add(std::string_view key, Number value) {
    writer_.keys_.push_back(writer_.list_.addString(key));
    writer_.values_.push_back(value);
  }
  Number finish(std::uint32_t classUid) {
    add("$class", writer_.list_.addUid(classUid));
    return writer_.list_.addDictionary(std::span(writer_.keys_).subspan(first_),
                                       std::span(writer_.values_).subspan(first_));
  }

  void encodeInteger(std::string_view key, std::int64_t value) override {
    add(key, writer_.list_.addInteger(value));
  }
  void encodeBool(std::string_view key, bool value) override {
    add(key, writer_.list_.addBoolean(value));
  }
  void encodeObject(std::string_view key, const Object& value) override {
    add(key, writer_.reference(value));
  }
  std::optional<Bytes> archivedData(const Object& root) override {
    if (writer_.nesting_ == KeyedUnarchiver::kMaximumNesting) return std::nullopt;
    return ArchiveWriter(writer_.nesting_ + 1, writer_.depth_).archivedData(root);
  }

 private:
  ArchiveWriter& writer_;
  const std::size_t first_;
};

std::optional<Bytes> ArchiveWriter::archivedData(const Object& root) {
  objects_.push_back(list_.addString(kNull));
  const std::uint32_t rootUid = uidOf(root);
  if (isTooDeep_) return std::nullopt;

  const auto dictionary = [&](std::string_view key, Number value) {
    const Number keys[] = {list_.addString(key)};
    const Number values[] = {value};
    return list_.addDictionary(keys, values);
  };
  const Number keys[] = {list_.addString("$version"), list_.addString("$archiver"),
                         list_.addString("$top"), list_.addString("$objects")};
  const Number values[] = {list_.addInteger(100000), list_.addString("NSKeyedArchiver"),
                           dictionary("root", list_.addUid(rootUid)), list_.addArray(objects_)};
  return list_.finish(list_.addDictionary(keys, values));
}

std::uint32_t ArchiveWriter::uidOf(const Object& object) {
  switch (object.kind()) {
    case Kind::Absent:
      return 0;
    case Kind::Boolean:
      return uidOfPlain(list_.addBoolean(object.boolValue()));
    case Kind::Integer:
      return uidOfPlain(object.isNegative() ? list_.addInteger(object.integerValue())
                                            : list_.addUnsigned(object.unsignedIntegerValue()));
    case Kind::Real:
      return uidOfPlain(list_.addReal(object.doubleValue()));
    case Kind::Date:
      return addPlainObject(object);
    case Kind::String: {
      // The text "$null" would be read as nil.
      const bool isPlain = !object.isMutable() && !ObjectView(object).isEqualToString(kNull);
      return isPlain ? uidOfString(object) : uidOfShared(object);
    }
    case Kind::Data:
      return object.isMutable() ? uidOfShared(object) : uidOfData(object);
    default:
      return uidOfShared(object);
  }
}

std::optional<std::uint32_t> ArchiveWriter::uidOfAddress(const void* address) const {
  const auto known = sharedIndex_.find(std::hash<const void*>()(address), [&](std::size_t index) {
    return shared_[index].address == address;
  });
  return known ? std::optional(shared_[*known].uid) : std::nullopt;
}

void ArchiveWriter::share(const Object& object, const void* address, std::uint32_t uid) {
  sharedIndex_.add(std::hash<const void*>()(address), shared_.size());
  shared_.push_back({object, address, uid});
}

std::uint32_t ArchiveWriter::uidOfPlain(Number number) {
  if (number >= plain_.size()) plain_.resize(std::max<std::size_t>(number + 1, 2 * plain_.size()));
  // $null has the first place, so no value has it.
  if (plain_[number] == 0) {
    plain_[number] = static_cast<std::uint32_t>(objects_.size());
    objects_.push_back(number);
  }
  return plain_[number];
}

std::uint32_t ArchiveWriter::uidOfString(const Object& object) {
  // A long one is known by its identity, so that it is looked at once however many refer to it.
  constexpr std::size_t kLong = 64;
  const void* address = object.sharedAddress();
  if (const auto known = uidOfAddress(address)) return *known;
  const std::string text = object.stringValue();
  const std::uint32_t uid = uidOfPlain(list_.addString(text));
  if (text.size() >= kLong) share(object, address, uid);
  return uid;
}

std::uint32_t ArchiveWriter::uidOfData(const Object& object) {
  // Data too long to be compared is known by its identity.
  const void* address = object.sharedAddress();
  if (const auto known = uidOfAddress(address)) return *known;
  const std::uint32_t uid = uidOfPlain(list_.addData(*ObjectView(object).data()));
  share(object, address, uid);
  return uid;
}

std::uint32_t ArchiveWriter::uidOfShared(const Object& object) {
  const Object whole = object.whole();
  const void* address = whole.sharedAddress();
  if (const auto known = uidOfAddress(address)) return *known;
  if (whole.isNil() || isTooDeep_ || depth_ == DecodingLimits::kMaximumDepth) {
    isTooDeep_ = true;
    return 0;
  }
  share(whole, address, static_cast<std::uint32_t>(objects_.size()));

  ++depth_;
  std::uint32_t uid = 0;
  if (const auto archivable = whole.archivable()) {
    const ClassNames names = archivable->classNames();
    uid = addObject(whole, [&] { return uidOfClass(names); });
  } else if (const auto opaque = whole.opaque()) {
    ClassNames names(opaque->classNames.begin(), opaque->classNames.end());
    if (names.empty()) names.push_back(kRootClass);
    uid = addObject(whole, [&] { return uidOfClass(names); });
  } else {
    uid = addPlainObject(whole);
  }
  --depth_;
  return uid;
}

std::uint32_t ArchiveWriter::addObject(const Object& object,
                                       FunctionRef<std::uint32_t()> uidOfItsClass) {
  const auto uid = static_cast<std::uint32_t>(objects_.size());
  objects_.push_back(0);  // the place: what the object holds comes behind it
  Fields fields(*this);
  writeFields(object, fields);
  objects_[uid] = fields.finish(uidOfItsClass());
  return uid;
}

std::uint32_t ArchiveWriter::addPlainObject(const Object& object) {
  return addObject(object, [&] {
    const std::pair<Kind, bool> of(object.kind(), object.isMutable());
    const auto known = std::ranges::find(plainClasses_, of, &PlainClass::of);
    if (known != plainClasses_.end()) return known->uid;
    const std::uint32_t uid = uidOfClass(classNames(of.first, of.second));
    plainClasses_.push_back({of, uid});
    return uid;
  });
}

std::uint32_t ArchiveWriter::uidOfClass(const ClassNames& names) {
  const auto [known, isNew] =
      classes_.try_emplace(std::vector<std::string>(names.begin(), names.end()), objects_.size());
  if (!isNew) return known->second;
  std::vector<Number> all;
  for (const std::string_view name : names) all.push_back(list_.addString(name));
  const Number keys[] = {list_.addString("$classes"), list_.addString("$classname")};
  const Number values[] = {list_.addArray(all), list_.addString(names.front())};
  objects_.push_back(list_.addDictionary(keys, values));
  return known->second;
}

void ArchiveWriter::writeFields(const Object& object, Fields& fields) {
  switch (object.kind()) {
    case Kind::String:
      return fields.add("NS.string", list_.addString(object.stringValue()));
    case Kind::Data:
      return fields.add("NS.data", list_.addData(*ObjectView(object).data()));
    case Kind::Date:
      return fields.add("NS.time", list_.addReal(object.dateValue()));
    case Kind::Url: {
      const URL url = *object.url();
      fields.encodeObject("NS.base", Object::orNil(url.base()));
      return fields.encodeObject("NS.relative", url.relativeString());
    }
    case Kind::Array:
    case Kind::Set:
      return fields.add("NS.objects", references(object));
    case Kind::Dictionary: {
      std::vector<Number> keys;
      std::vector<Number> values;
      keys.reserve(object.size());
      values.reserve(object.size());
      ObjectView(object).forEachEntry([&](ObjectView key, ObjectView value) {
        keys.push_back(reference(key.toObject()));
        values.push_back(reference(value.toObject()));
        return true;
      });
      fields.add("NS.keys", list_.addArray(keys));
      return fields.add("NS.objects", list_.addArray(values));
    }
    case Kind::Error:
      return writeError(object, fields);
    case Kind::Opaque:
      return writeOpaque(*object.opaque(), fields);
    default:
      return object.archivable()->encodeWithCoder(fields);
  }
}

void ArchiveWriter::writeError(const Object& object, Fields& fields) {
  const Error error = *object.error();
  fields.encodeObject("NSDomain", error.domain);
  fields.encodeInteger("NSCode", error.code);
  fields.encodeObject("NSUserInfo", error.userInfo);
}

void ArchiveWriter::writeOpaque(const OpaqueObject& object, Fields& fields) {
  PropertyListEncoder plain(list_, depth_);
  for (const OpaqueObject::Field& field : object.values) {
    switch (field.form) {
      case OpaqueObject::Form::Reference:
        fields.encodeObject(field.key, field.value);
        break;
      case OpaqueObject::Form::References:
        fields.add(field.key, references(field.value));
        break;
      case OpaqueObject::Form::Inline:
        // A value that a property list cannot hold did not come from one.
        if (const auto number = plain.add(field.value)) fields.add(field.key, *number);
        break;
    }
  }
}

ArchiveWriter::Number ArchiveWriter::references(const ObjectView& elements) {
  const std::size_t first = elements_.size();
  elements.forEachElement([&](ObjectView element) {
    elements_.push_back(reference(element.toObject()));
    return true;
  });
  const Number array = list_.addArray(std::span(elements_).subspan(first));
  elements_.resize(first);
  return array;
}

}  // namespace kelpie
