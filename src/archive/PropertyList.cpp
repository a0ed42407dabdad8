#include "archive/PropertyList.h"

#include "archive/BinaryPropertyList.h"
#include "archive/BinaryPropertyListWriter.h"
#include "archive/DecodingLimits.h"
#include "archive/PropertyListDecoder.h"
#include "archive/PropertyListEncoder.h"

namespace kelpie {

Object PropertyList::read(ByteView bytes) {
  const auto list = BinaryPropertyList::open(bytes);
  if (!list) return {};
  ReadingBudget budget(bytes.size());
  DecodingLimits limits(budget);
  PropertyListDecoder decoder(*list, limits);
  Object result = decoder.object(list->item(list->topNumber()));
  return decoder.isRefused() || decoder.hasOtherKeys() ? Object() : result;
}

std::optional<Bytes> PropertyList::write(const Object& value) {
  BinaryPropertyListWriter list;
  const auto top = PropertyListEncoder(list).add(value);
  return top ? std::optional(list.finish(*top)) : std::nullopt;
}

}  // namespace kelpie
