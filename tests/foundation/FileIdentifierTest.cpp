#include "foundation/FileIdentifier.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/OpaqueObject.h"

namespace kelpie {
namespace {

TEST(FileIdentifier, DataStandsForItself) {
  for (const std::size_t size : {0U, 1U, 16U, 17U, 1000U}) {
    const Bytes bytes(size, 7);
    const FileIdentifier identifier(bytes);
    EXPECT_EQ(Bytes(identifier.bytes().begin(), identifier.bytes().end()), bytes);
    EXPECT_EQ(FileIdentifier::fromObject(bytes), identifier);
    EXPECT_EQ(identifier.toObject().data(), bytes);
    EXPECT_FALSE(identifier.isArchivedForm());
  }
}

TEST(FileIdentifier, EqualBytesAreOneIdentifier) {
  const Bytes bytes{1, 2, 3};
  const FileIdentifier identifier(bytes);
  const FileIdentifier copy = identifier;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy, identifier);
  EXPECT_EQ(copy.hash(), identifier.hash());
  EXPECT_NE(identifier, FileIdentifier(Bytes{1, 2, 4}));
  EXPECT_NE(identifier, FileIdentifier(Bytes{1, 2}));
  EXPECT_EQ(FileIdentifier(Bytes(40, 1)), FileIdentifier(Bytes(40, 1)));
  std::unordered_set<FileIdentifier> set{identifier, copy, FileIdentifier(Bytes(40, 1))};
  EXPECT_EQ(set.size(), 2U);
}

TEST(FileIdentifier, AnotherObjectIsKnownByItsArchivedForm) {
  const Object object = OpaqueObject{{"XYIdentifier", "NSObject"}, {{"volume", 5}, {"file", 77}}};
  const auto identifier = FileIdentifier::fromObject(object);
  ASSERT_TRUE(identifier);
  EXPECT_TRUE(identifier->isArchivedForm());
  EXPECT_TRUE(identifier->toObject().isEqual(object));
  EXPECT_EQ(FileIdentifier::fromObject(identifier->toObject()), identifier);
  EXPECT_NE(identifier, FileIdentifier(identifier->bytes()));
  const Object other = OpaqueObject{{"XYIdentifier", "NSObject"}, {{"volume", 5}, {"file", 78}}};
  EXPECT_NE(FileIdentifier::fromObject(other), identifier);
}

TEST(FileIdentifier, NilIsNone) { EXPECT_FALSE(FileIdentifier::fromObject({})); }

TEST(FileIdentifier, ComesOutOfAMessageAsItWentIn) {
  const Bytes bytes(16, 3);
  const auto archive =
      KeyedArchiver::archivedData(Dictionary{{"KPMessageTarget", FileIdentifier(bytes)}});
  ASSERT_TRUE(archive);
  const Object message = KeyedUnarchiver::open(std::make_shared<const Bytes>(*archive));
  EXPECT_EQ(FileIdentifier::fromObject(message["KPMessageTarget"]), FileIdentifier(bytes));
}

}  // namespace
}  // namespace kelpie
