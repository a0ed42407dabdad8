#include "foundation/ObjectComparison.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>

#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/IntegerBounds.h"
#include "foundation/ObjectView.h"
#include "foundation/OpaqueObject.h"
#include "foundation/Overloaded.h"

namespace kelpie {

namespace {

// Bytes of a long value that count as one comparison.
constexpr std::size_t kPiece = 64;
// The cost of remembering a pair, so that the memory for pairs is bounded, too.
constexpr std::uint64_t kPairWork = 64;

// How many elements of a container its hash depends on.
constexpr std::size_t kHashedElements = 16;

// Sets up to this size are compared element by element.
constexpr std::size_t kLinearSetSize = 8;

bool isEqualReal(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// The integer with this value, if there is one: the form in which numbers are compared and hashed.
struct ExactInteger {
  bool isNegative;
  std::uint64_t bits;
  friend bool operator==(const ExactInteger&, const ExactInteger&) = default;
};

std::optional<ExactInteger> exactInteger(const Object& number) {
  if (number.kind() != Object::Kind::Real)
    return ExactInteger{number.isNegative(), number.unsignedIntegerValue()};
  const double value = number.doubleValue();
  if (value != std::trunc(value) || value < -kBeyondSigned || value >= kBeyondUnsigned)
    return std::nullopt;
  return ExactInteger{value < 0, number.unsignedIntegerValue()};
}

bool isEqualNumber(const Object& a, const Object& b) {
  const auto exactA = exactInteger(a);
  const auto exactB = exactInteger(b);
  if (exactA || exactB) return exactA == exactB;
  return isEqualReal(a.doubleValue(), b.doubleValue());
}

std::size_t combine(std::size_t a, std::size_t b) {
  return a ^ (b + 0x9e3779b97f4a7c15U + (a << 6U) + (a >> 2U));
}

std::size_t hashOfNumber(const Object& number) {
  if (const auto exact = exactInteger(number)) return std::hash<std::uint64_t>{}(exact->bits);
  const double value = number.doubleValue();
  return std::isnan(value) ? 1 : std::hash<double>{}(value);
}

// The part of an element in its container's hash: nothing for a container, or for an element whose
// hash depends on more than its value.
std::size_t hashOfLeaf(const ObjectView& element) {
  switch (element.kind()) {
    case Object::Kind::Boolean:
    case Object::Kind::Integer:
    case Object::Kind::Real:
    case Object::Kind::String:
    case Object::Kind::Data:
    case Object::Kind::Date:
      return element.toObject().hash();
    default:
      return 0;
  }
}

// Containers hash by their size and a look at their surface, so that hashing is bounded whatever
// they hold.
std::size_t hashOfArray(const ObjectView& array) {
  std::size_t hash = combine(3, array.size());
  std::size_t looked = 0;
  array.forEachElement([&](ObjectView element) {
    hash = combine(hash, hashOfLeaf(element));
    return ++looked < kHashedElements;
  });
  return hash;
}

// The order does not count, so it is all elements or none.
std::size_t hashOfSet(const ObjectView& set) {
  std::size_t sum = set.size();
  if (set.size() > kHashedElements) return sum;
  set.forEachElement([&](ObjectView element) {
    sum += hashOfLeaf(element);
    return true;
  });
  return sum;
}

std::size_t hashOfDictionary(const ObjectView& dictionary) {
  std::size_t sum = dictionary.size();
  if (dictionary.size() > kHashedElements) return sum;
  dictionary.forEachEntry([&](ObjectView key, ObjectView value) {
    sum += combine(hashOfLeaf(key), hashOfLeaf(value));
    return true;
  });
  return sum;
}

}  // namespace

bool ObjectComparison::isEqual(const Object& a, const Object& b) {
  using Kind = Object::Kind;
  if (!charge(1)) return false;
  if (a.isNumber() && b.isNumber()) return isEqualNumber(a, b);
  // A URL compares itself even with values that are not URLs: it has a rule of its own.
  if (const auto* url = std::get_if<URL>(&a.value_)) return url->isEqual(b);
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case Kind::String:
      return charge(a.shared<std::string>()->size() / kPiece) &&
             *a.shared<std::string>() == *b.shared<std::string>();
    case Kind::Data:
      return charge(a.shared<Bytes>()->size() / kPiece) && *a.shared<Bytes>() == *b.shared<Bytes>();
    case Kind::Date:
      return isEqualReal(a.dateValue(), b.dateValue());
    case Kind::Archivable:
      return a.archivable() == b.archivable();
    case Kind::Array:
    case Kind::Set:
    case Kind::Dictionary:
    case Kind::Error:
    case Kind::Opaque:
      // Without a copy where there is nothing to be read, so that the count of holders is right.
      if (a.part() == nullptr && b.part() == nullptr) return isEqualContainer(a, b);
      return isEqualContainer(a.whole(), b.whole());
    default:
      return false;
  }
}

bool ObjectComparison::isEqualContainer(const Object& a, const Object& b) {
  const std::pair pair{a.sharedAddress(), b.sharedAddress()};
  // A part that could not be read whole became nil.
  if (pair.first == nullptr || pair.second == nullptr) return false;
  if (pair.first == pair.second) return true;
  if (const auto known = known_.find(pair); known != known_.end()) return known->second;
  if (depth_ == kMaximumDepth) return false;

  ++depth_;
  bool equal = false;
  if (const auto* elements = a.shared<Objects>()) {
    equal = isEqualArray(*elements, *b.shared<Objects>());
  } else if (const auto* set = a.shared<Object::SetElements>()) {
    equal = isEqualSet(set->elements, b.shared<Object::SetElements>()->elements);
  } else if (const auto* entries = a.shared<Dictionary>()) {
    equal = isEqualDictionary(*entries, *b.shared<Dictionary>());
  } else if (const auto opaque = a.opaque()) {
    equal = isEqualOpaque(*opaque, *b.opaque());
  } else {
    const auto errorA = a.error();
    const auto errorB = b.error();
    equal = errorA && errorB && errorA->domain == errorB->domain && errorA->code == errorB->code &&
            isEqualSlot(errorA->userInfo, errorB->userInfo);
  }
  --depth_;
  // A value with a single holder is met only when that holder is compared.
  if ((isHeldTwice(a) || isHeldTwice(b)) && charge(kPairWork)) known_.emplace(pair, equal);
  return equal;
}

bool ObjectComparison::isHeldTwice(const Object& object) {
  return std::visit(
      Overloaded{
          []<class T>(const Object::Shared<T>& value) { return value.value.use_count() > 1; },
          []<class T>(const std::shared_ptr<const T>& value) { return value.use_count() > 1; },
          [](const auto& /*other*/) { return false; }},
      object.value_);
}

bool ObjectComparison::isEqualArray(const Objects& a, const Objects& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](const Object& x, const Object& y) { return isEqualSlot(x, y); });
}

bool ObjectComparison::isEqualSet(const Objects& a, const Objects& b) {
  if (a.size() != b.size()) return false;
  std::unordered_multimap<std::size_t, const Object*> index;
  if (b.size() > kLinearSetSize) {
    index.reserve(b.size());
    for (const Object& element : b) index.emplace(element.hash(), &element);
  }
  return std::all_of(a.begin(), a.end(), [&](const Object& element) {
    if (index.empty())
      return std::any_of(b.begin(), b.end(), [&](const Object& other) {
        return element.hash() == other.hash() && isEqual(element, other);
      });
    const auto [begin, end] = index.equal_range(element.hash());
    return std::any_of(begin, end,
                       [&](const auto& other) { return isEqual(element, *other.second); });
  });
}

bool ObjectComparison::isEqualDictionary(const Dictionary& a, const Dictionary& b) {
  if (a.size() != b.size()) return false;
  return std::all_of(a.entries().begin(), a.entries().end(), [&](const Dictionary::Entry& entry) {
    const Object* other = b.find(entry.first, *this);
    return other != nullptr && isEqual(entry.second, *other);
  });
}

bool ObjectComparison::isEqualOpaque(const OpaqueObject& a, const OpaqueObject& b) {
  if (a.classNames != b.classNames || a.values.size() != b.values.size()) return false;
  return std::all_of(a.values.begin(), a.values.end(), [&](const OpaqueObject::Field& field) {
    const auto other = std::find_if(
        b.values.begin(), b.values.end(),
        [&](const OpaqueObject::Field& candidate) { return candidate.key == field.key; });
    return other != b.values.end() && other->form == field.form &&
           isEqualSlot(field.value, other->value);
  });
}

bool ObjectComparison::charge(std::uint64_t work) {
  workLeft_ -= std::min(work, workLeft_);
  return workLeft_ != 0;
}

bool ObjectComparison::isEqualSlot(const Object& a, const Object& b) {
  return (a.isNil() && b.isNil()) || isEqual(a, b);
}

// -- Object ----------------------------------------------------------------------------------

bool Object::isEqual(const Object& other) const { return ObjectComparison().isEqual(*this, other); }

std::size_t Object::hashOfString(std::string_view text) {
  return std::hash<std::string_view>{}(text);
}

std::size_t Object::hash() const {
  // An element that does not decode counts in a container in place, and is left out of a whole one.
  if (part() != nullptr) return whole().hash();
  switch (kind()) {
    case Kind::Absent:
      return 0;
    case Kind::Boolean:
    case Kind::Integer:
    case Kind::Real:
      return hashOfNumber(*this);
    case Kind::String:
      return hashOfString(*shared<std::string>());
    case Kind::Data:
      return std::hash<std::string_view>{}(textOf(*shared<Bytes>()));
    case Kind::Date:
      return std::isnan(dateValue()) ? 2 : std::hash<double>{}(dateValue());
    case Kind::Url:
      return std::get<URL>(value_).hash();
    case Kind::Array:
      return hashOfArray(*this);
    case Kind::Set:
      return hashOfSet(*this);
    case Kind::Dictionary:
      return hashOfDictionary(*this);
    case Kind::Error:
      return combine(hashOfString(error()->domain), static_cast<std::size_t>(error()->code));
    case Kind::Archivable:
      return std::hash<const void*>{}(archivable().get());
    case Kind::Opaque:
      return combine(5, opaque()->values.size());
  }
  return 0;
}

}  // namespace kelpie
