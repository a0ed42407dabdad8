#include "archive/PropertyListDecoder.h"

#include <cstddef>
#include <string>
#include <utility>

#include "foundation/Dictionary.h"

namespace kelpie {

Object PropertyListDecoder::object(const BinaryPropertyList::Item& item) {
  switch (item.type) {
    case BinaryPropertyList::Type::None:
    case BinaryPropertyList::Type::Uid:
    case BinaryPropertyList::Type::Set:
      return {};
    case BinaryPropertyList::Type::Boolean:
      return {list_.boolean(item)};
    case BinaryPropertyList::Type::Integer:
      return list_.isNegative(item) ? Object(static_cast<std::int64_t>(list_.integer(item)))
                                    : Object(list_.integer(item));
    case BinaryPropertyList::Type::Real:
      return {list_.real(item)};
    case BinaryPropertyList::Type::Date:
      return Object::date(list_.real(item));
    default:
      break;
  }
  if (const auto known = known_.find(item.offset); known != known_.end()) {
    if (!known->second) isRefused_ = true;
    return known->second.value_or(Object());
  }
  if (isRefused_ || limits_.depth == DecodingLimits::kMaximumDepth ||
      !limits_.budget.charge(ReadingBudget::kObject + list_.contentSize(item))) {
    isRefused_ = true;
    return {};
  }
  known_.emplace(item.offset, std::nullopt);
  ++limits_.depth;
  Object result = made(item);
  --limits_.depth;
  known_[item.offset] = result;
  return result;
}

Object PropertyListDecoder::made(const BinaryPropertyList::Item& item) {
  switch (item.type) {
    case BinaryPropertyList::Type::Ascii:
    case BinaryPropertyList::Type::Utf16: {
      // Longer than the bytes where these are not text.
      std::string text = list_.string(item);
      if (!limits_.budget.charge(text.size())) isRefused_ = true;
      return {std::move(text)};
    }
    case BinaryPropertyList::Type::Data: {
      const ByteView bytes = list_.bytes(item);
      return {Bytes(bytes.begin(), bytes.end())};
    }
    case BinaryPropertyList::Type::Array:
      return {elements(item)};
    default:
      return dictionary(item);
  }
}

Objects PropertyListDecoder::elements(const BinaryPropertyList::Item& item) {
  Objects result;
  if (!limits_.budget.charge(item.count * ReadingBudget::kSlot)) {
    isRefused_ = true;
    return result;
  }
  result.reserve(item.count);
  for (std::size_t index = 0; index < item.count; ++index) {
    Object element = object(list_.item(list_.number(item, index)));
    if (!element.isNil()) result.push_back(std::move(element));
  }
  return result;
}

Object PropertyListDecoder::dictionary(const BinaryPropertyList::Item& item) {
  Dictionary entries;
  for (std::size_t index = 0; index < item.count && !isRefused_; ++index) {
    if (!limits_.budget.charge(ReadingBudget::kElement + 2 * ReadingBudget::kSlot)) {
      isRefused_ = true;
      break;
    }
    Object key = object(list_.keyAt(item, index));
    Object value = object(list_.valueAt(item, index));
    hasOtherKeys_ |= !key.isNil() && !key.isString();
    if (key.isNil() || value.isNil()) continue;
    entries.set(std::move(key), std::move(value), comparison_);
  }
  if (comparison_.isExhausted()) isRefused_ = true;
  return {std::move(entries)};
}

}  // namespace kelpie
