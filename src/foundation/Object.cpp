#include "foundation/Object.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "archive/DecodingLimits.h"
#include "archive/OpenedArchive.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/IntegerBounds.h"
#include "foundation/ObjectComparison.h"
#include "foundation/ObjectView.h"
#include "foundation/OpaqueObject.h"
#include "foundation/Overloaded.h"
#include "foundation/Text.h"

namespace kelpie {

namespace {

std::int64_t integerFromReal(double value) {
  if (std::isnan(value)) return 0;
  if (value >= kBeyondSigned) return std::numeric_limits<std::int64_t>::max();
  if (value < -kBeyondSigned) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

std::uint64_t unsignedFromReal(double value) {
  if (value >= kBeyondUnsigned) return std::numeric_limits<std::uint64_t>::max();
  if (value >= kBeyondSigned) return static_cast<std::uint64_t>(value);
  return static_cast<std::uint64_t>(integerFromReal(value));
}

}  // namespace

// -- Making ----------------------------------------------------------------------------------

Object::Object(double value) : value_(value) {}

Object::Object(std::string text)
    : value_(Shared<std::string>{std::make_shared<const std::string>(std::move(text))}) {}

Object::Object(std::string_view text) : Object(std::string(text)) {}

Object::Object(const char* text) : Object(std::string(text)) {}

Object::Object(Bytes data)
    : value_(Shared<Bytes>{std::make_shared<const Bytes>(std::move(data))}) {}

Object::Object(URL url) : value_(std::move(url)) {}

Object::Object(const FileIdentifier& identifier) : Object(identifier.toObject()) {}

Object::Object(Objects elements)
    : value_(Shared<Objects>{std::make_shared<const Objects>(std::move(elements))}) {}

Object::Object(Dictionary entries)
    : value_(Shared<Dictionary>{std::make_shared<const Dictionary>(std::move(entries))}) {}

Object::Object(Error error) : value_(std::make_shared<const Error>(std::move(error))) {}

Object::Object(OpaqueObject object)
    : value_(std::make_shared<const OpaqueObject>(std::move(object))) {}

Object::Object(std::shared_ptr<const Archivable> object) {
  if (object != nullptr) value_ = std::move(object);
}

Object Object::set(Objects elements) {
  Object result;
  result.value_ =
      Shared<SetElements>{std::make_shared<const SetElements>(SetElements{std::move(elements)})};
  return result;
}

Object Object::date(double secondsSinceReferenceDate) {
  Object result;
  result.value_ = Date{secondsSinceReferenceDate};
  return result;
}

Object Object::orNil(const std::optional<URL>& url) { return url ? Object(*url) : Object(); }

Object Object::orNil(const std::optional<FileIdentifier>& identifier) {
  return identifier ? Object(*identifier) : Object();
}

Object Object::path(std::string_view bytes) {
  if (isUtf8(bytes)) return {bytes};
  const ByteView raw = bytesOf(bytes);
  return {Bytes(raw.begin(), raw.end())};
}

Object::Value Object::integer(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
    return static_cast<std::int64_t>(value);
  return value;
}

// -- Kind ------------------------------------------------------------------------------------

Object::Kind Object::kind() const {
  // In the order of the alternatives of Value; a part knows its own kind.
  static constexpr std::array kKinds = {
      Kind::Absent, Kind::Boolean,    Kind::Integer, Kind::Integer,    Kind::Real,
      Kind::String, Kind::Data,       Kind::Date,    Kind::Url,        Kind::Array,
      Kind::Set,    Kind::Dictionary, Kind::Error,   Kind::Archivable, Kind::Opaque};
  static_assert(kKinds.size() + 1 == std::variant_size_v<Value>);
  const Part* in = part();
  return in != nullptr ? in->kind : kKinds[value_.index()];
}

bool Object::isNumber() const {
  const Kind is = kind();
  return is == Kind::Boolean || is == Kind::Integer || is == Kind::Real;
}

bool Object::isMutable() const {
  return std::visit(Overloaded{[]<class T>(const Shared<T>& value) { return value.isMutable; },
                               [](const Part& part) { return part.isMutable; },
                               [](const auto& /*other*/) { return false; }},
                    value_);
}

Object Object::mutableCopy() const {
  // An object of its own, as its class name says: the value is not shared with the receiver, so
  // that an archive of both holds two.
  Object result;
  result.value_ = std::visit(Overloaded{[]<class T>(const Shared<T>& value) -> Value {
                                          return Shared<T>{std::make_shared<const T>(*value.value)};
                                        },
                                        [](const auto& other) -> Value { return other; }},
                             value_);
  result.setMutable();
  return result;
}

// -- Numbers ---------------------------------------------------------------------------------

bool Object::boolValue() const {
  const auto* real = std::get_if<double>(&value_);
  return real != nullptr ? *real != 0 : unsignedIntegerValue() != 0;
}

std::int64_t Object::integerValue() const {
  const auto* real = std::get_if<double>(&value_);
  return real != nullptr ? integerFromReal(*real)
                         : static_cast<std::int64_t>(unsignedIntegerValue());
}

bool Object::isNegative() const {
  return std::visit(Overloaded{[](std::int64_t value) { return value < 0; },
                               [](double value) { return value < 0; },
                               [](const auto& /*other*/) { return false; }},
                    value_);
}

std::uint64_t Object::unsignedIntegerValue() const {
  return std::visit(Overloaded{[](bool value) -> std::uint64_t { return value ? 1 : 0; },
                               [](std::int64_t value) { return static_cast<std::uint64_t>(value); },
                               [](std::uint64_t value) { return value; },
                               [](double value) { return unsignedFromReal(value); },
                               [](const auto& /*other*/) -> std::uint64_t { return 0; }},
                    value_);
}

std::uint16_t Object::unsignedShortValue() const {
  return static_cast<std::uint16_t>(unsignedIntegerValue());
}

double Object::doubleValue() const {
  if (const auto* real = std::get_if<double>(&value_)) return *real;
  if (const auto* large = std::get_if<std::uint64_t>(&value_)) return static_cast<double>(*large);
  return static_cast<double>(integerValue());
}

double Object::dateValue() const {
  const auto* date = std::get_if<Date>(&value_);
  return date != nullptr ? date->seconds : 0;
}

// -- Values ----------------------------------------------------------------------------------

std::string Object::stringValue() const {
  const auto* text = shared<std::string>();
  return text != nullptr ? *text : std::string();
}

std::optional<std::string> Object::string() const {
  const auto* text = shared<std::string>();
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::string> Object::pathBytes() const {
  const auto* bytes = shared<Bytes>();
  return bytes != nullptr ? std::optional(std::string(textOf(*bytes))) : string();
}

std::optional<Bytes> Object::data() const {
  const auto* bytes = shared<Bytes>();
  return bytes != nullptr ? std::optional(*bytes) : std::nullopt;
}

std::optional<URL> Object::url() const {
  const auto* found = std::get_if<URL>(&value_);
  return found != nullptr ? std::optional(*found) : std::nullopt;
}

std::optional<Error> Object::error() const {
  const auto* found = std::get_if<std::shared_ptr<const Error>>(&value_);
  return found != nullptr ? std::optional(**found) : std::nullopt;
}

std::shared_ptr<const OpaqueObject> Object::opaque() const {
  const auto* found = std::get_if<std::shared_ptr<const OpaqueObject>>(&value_);
  return found != nullptr ? *found : nullptr;
}

std::shared_ptr<const Archivable> Object::archivable() const {
  const auto* found = std::get_if<std::shared_ptr<const Archivable>>(&value_);
  return found != nullptr ? *found : nullptr;
}

const void* Object::sharedAddress() const {
  return std::visit(
      Overloaded{
          []<class T>(const Shared<T>& value) -> const void* { return value.value.get(); },
          []<class T>(const std::shared_ptr<const T>& value) -> const void* { return value.get(); },
          [](const URL& value) { return value.sharedAddress(); },
          [](const auto& /*other*/) -> const void* { return nullptr; }},
      value_);
}

// -- Containers ------------------------------------------------------------------------------

const Objects* Object::builtElements() const {
  if (const auto* array = shared<Objects>()) return array;
  const auto* set = shared<SetElements>();
  return set != nullptr ? &set->elements : nullptr;
}

std::size_t Object::size() const { return ObjectView(*this).size(); }

Object Object::at(std::size_t index) const { return ObjectView(*this).at(index).toObject(); }

Object Object::operator[](std::string_view key) const { return ObjectView(*this)[key].toObject(); }

Object Object::valueForKey(const Object& key) const { return ObjectView(*this)[key].toObject(); }

Objects Object::elements() const {
  if (const Objects* built = builtElements()) return *built;
  Objects result;
  result.reserve(ObjectView(*this).plausibleSize());
  ObjectView(*this).forEachElement([&](ObjectView element) {
    result.push_back(element.toObject());
    return true;
  });
  return result;
}

Dictionary Object::dictionary() const {
  if (const auto* entries = shared<Dictionary>()) return *entries;
  Dictionary result;
  const Part* in = part();
  ObjectComparison comparison(
      DecodingLimits::comparisons(in != nullptr ? in->archive->reader().list().byteCount() : 0));
  ObjectView(*this).forEachEntry([&](ObjectView key, ObjectView value) {
    Object keyObject = key.toObject();
    Object valueObject = value.toObject();
    if (!keyObject.isNil() && !valueObject.isNil()) {
      result.set(std::move(keyObject), std::move(valueObject), comparison);
    }
    return true;
  });
  return result;
}

bool Object::isRefused() const { return ObjectView(*this).isRefused(); }

Object Object::ofPart(Part part) {
  Object result;
  result.value_ = std::move(part);
  return result;
}

Object Object::whole() const {
  const Part* in = part();
  if (in == nullptr) return *this;
  const Object whole = in->archive->whole(in->archive->reader().object(in->uid));
  return in->isMutable && !whole.isMutable() ? whole.mutableCopy() : whole;
}

void Object::setMutable() {
  std::visit(Overloaded{[]<class T>(Shared<T>& value) { value.isMutable = true; },
                        [](Part& part) { part.isMutable = true; }, [](auto& /*other*/) {}},
             value_);
}

}  // namespace kelpie
