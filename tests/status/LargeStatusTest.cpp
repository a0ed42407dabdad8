// A status as large as any that an honest application sends.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "archive/KeyedUnarchiver.h"
#include "archive/ReadingBudget.h"
#include "status/StatusInfo.h"
#include "support/RawPropertyList.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

using Number = RawPropertyList::Number;

Bytes identifierOf(std::uint32_t item) {
  Bytes identifier(16, 1);
  for (std::size_t index = 0; index < 4; ++index)
    identifier[index] = static_cast<std::uint8_t>(item >> (8 * index));
  return identifier;
}

// As archivers write it: an array object for each entry, names of classes and keys once.
std::shared_ptr<const Bytes> archivedStatus(std::uint32_t entries) {
  RawArchive archive(4, 4);
  RawPropertyList& list = archive.list;
  const Number ofClass = list.ascii("$class");
  const Number ofObjects = list.ascii("NS.objects");
  const Number arrayClass = archive.reference(archive.classNamed({"NSArray", "NSObject"}));
  const Number word = archive.reference(archive.add(list.integer(256, 2)));
  std::vector<Number> keys;
  std::vector<Number> values;
  for (std::uint32_t item = 0; item < entries; ++item) {
    keys.push_back(archive.reference(archive.add(list.data(identifierOf(item)))));
    const Number path =
        archive.reference(archive.addString("/home/repo/d/" + std::to_string(item)));
    const std::vector<std::pair<Number, Number>> fields = {{ofObjects, list.array({word, path})},
                                                           {ofClass, arrayClass}};
    values.push_back(archive.reference(archive.add(list.dictionary(fields))));
  }
  const Number allKeys = list.array(keys);
  const std::uint32_t table =
      archive.addObject({"NSMutableDictionary", "NSDictionary", "NSObject"},
                        {{"NS.keys", allKeys}, {"NS.objects", list.array(values)}});
  const std::uint32_t name = archive.addString("KPRepositoryStatus");
  return std::make_shared<const Bytes>(archive.finish(archive.addDictionary({name}, {table})));
}

TEST(LargeStatus, OfAMillionEntriesIsTakenWholeFromASmallPartOfItsBudget) {
  constexpr std::uint32_t kEntries = kHasAddressSanitizer ? 100'000 : 1'000'000;
  const auto bytes = archivedStatus(kEntries);
  const Object info =
      KeyedUnarchiver::open(bytes, ReadingBudget::kUnitsPerByte * bytes->size() / 8);
  const StatusInfo status = StatusInfo::read(info);
  ASSERT_FALSE(info.isRefused());
  ASSERT_TRUE(status.status);
  EXPECT_EQ(status.status->size(), kEntries);
  for (const std::uint32_t item : {0U, 1U, kEntries / 2 - 1, kEntries - 1})
    EXPECT_EQ(status.status->wordOf(StatusTable::Key::ofIdentifierData(identifierOf(item))), 256);
}

}  // namespace
}  // namespace kelpie
