#include "archive/PropertyListEncoder.h"

#include "archive/DecodingLimits.h"

namespace kelpie {

std::optional<PropertyListEncoder::Number> PropertyListEncoder::add(const Object& value) {
  switch (value.kind()) {
    case Object::Kind::Boolean:
      return list_.addBoolean(value.boolValue());
    case Object::Kind::Integer:
      return value.isNegative() ? list_.addInteger(value.integerValue())
                                : list_.addUnsigned(value.unsignedIntegerValue());
    case Object::Kind::Real:
      return list_.addReal(value.doubleValue());
    case Object::Kind::Date:
      return list_.addDate(value.dateValue());
    case Object::Kind::String:
      return list_.addString(value.stringValue());
    case Object::Kind::Data:
      return list_.addData(*value.data());
    case Object::Kind::Array:
    case Object::Kind::Dictionary:
      return addContainer(value.whole());
    default:
      return std::nullopt;
  }
}

std::optional<PropertyListEncoder::Number> PropertyListEncoder::addContainer(const Object& value) {
  const void* address = value.sharedAddress();
  if (const auto known = known_.find(address); known != known_.end()) return known->second;
  if (value.isNil() || depth_ == DecodingLimits::kMaximumDepth) return std::nullopt;
  ++depth_;
  const auto number = value.isArray() ? addElements(value) : addEntries(value);
  --depth_;
  if (!number) return std::nullopt;
  known_.emplace(address, *number);
  held_.push_back(value);
  return number;
}

std::optional<PropertyListEncoder::Number> PropertyListEncoder::addElements(
    const ObjectView& array) {
  std::vector<Number> numbers;
  numbers.reserve(array.size());
  bool arePlain = true;
  array.forEachElement([&](ObjectView element) {
    const auto number = add(element.toObject());
    arePlain = number.has_value();
    if (arePlain) numbers.push_back(*number);
    return arePlain;
  });
  return arePlain ? std::optional(list_.addArray(numbers)) : std::nullopt;
}

std::optional<PropertyListEncoder::Number> PropertyListEncoder::addEntries(
    const ObjectView& dictionary) {
  std::vector<Number> keys;
  std::vector<Number> values;
  bool arePlain = true;
  dictionary.forEachEntry([&](ObjectView key, ObjectView value) {
    const auto number = add(value.toObject());
    arePlain = number && key.kind() == Object::Kind::String;
    if (arePlain) {
      keys.push_back(list_.addString(key.stringValue()));
      values.push_back(*number);
    }
    return arePlain;
  });
  return arePlain ? std::optional(list_.addDictionary(keys, values)) : std::nullopt;
}

}  // namespace kelpie
