#include "refs/KPReference.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

#include "refs/ArchiveRoundTrip.h"
#include "refs/RecordingEncoder.h"

namespace kelpie {
namespace {

std::shared_ptr<const KPReference> readReference(ArchivedKeys keys) {
  return readFromKeys<KPReference>("KPReference", std::move(keys));
}

TEST(KPReference, NewOneIsAPlainReferenceWithoutAName) {
  const KPReference reference;
  EXPECT_EQ(reference.type(), 1);
  EXPECT_EQ(reference.name(), std::nullopt);
}

TEST(KPReference, NewOneHasNothingElse) {
  const KPReference reference(2, "main");
  EXPECT_EQ(reference.type(), 2);
  EXPECT_EQ(reference.name(), "main");
  EXPECT_EQ(reference.fullName(), std::nullopt);
  EXPECT_EQ(reference.oid(), std::nullopt);
  EXPECT_FALSE(reference.isHead());
  EXPECT_FALSE(reference.isDetached());
  EXPECT_EQ(reference.upstreamName(), std::nullopt);
  EXPECT_EQ(reference.tag(), 0);
}

TEST(KPReference, SettersReplaceOneValueEach) {
  KPReference reference;
  reference.setType(7);
  reference.setName("v1.0");
  reference.setFullName("refs/tags/v1.0");
  reference.setOid(Bytes{1, 2, 3});
  reference.setHead(true);
  reference.setDetached(true);
  reference.setUpstreamName("refs/remotes/origin/main");
  reference.setTag(-200);
  EXPECT_EQ(reference.type(), 7);
  EXPECT_EQ(reference.name(), "v1.0");
  EXPECT_EQ(reference.fullName(), "refs/tags/v1.0");
  EXPECT_EQ(reference.oid(), (Bytes{1, 2, 3}));
  EXPECT_TRUE(reference.isHead());
  EXPECT_TRUE(reference.isDetached());
  EXPECT_EQ(reference.upstreamName(), "refs/remotes/origin/main");
  EXPECT_EQ(reference.tag(), -200);
  reference.setName(std::nullopt);
  reference.setOid(std::nullopt);
  EXPECT_EQ(reference.name(), std::nullopt);
  EXPECT_EQ(reference.oid(), std::nullopt);
  EXPECT_EQ(reference.fullName(), "refs/tags/v1.0");
}

TEST(KPReference, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<KPReference>);
  EXPECT_FALSE(std::is_copy_assignable_v<KPReference>);
}

TEST(KPReference, WritesItsKeysInOrder) {
  KPReference reference(2, "main");
  reference.setOid(Bytes{1});
  reference.setHead(true);
  reference.setTag(100);
  RecordingEncoder encoder;
  reference.encodeWithCoder(encoder);
  EXPECT_EQ(encoder.calls,
            (std::vector<std::string>{"integer type 2", "object name", "object fullName nil",
                                      "object oid", "bool head YES", "bool detached NO",
                                      "object upstreamName nil", "integer tag 100"}));
}

TEST(KPReference, ComesBackFromItsArchive) {
  const auto reference = std::make_shared<KPReference>(3, "feature/\u65e5\u672c");
  reference->setFullName("refs/heads/feature/\u65e5\u672c");
  reference->setOid(Bytes{0, 255, 1});
  reference->setHead(true);
  reference->setDetached(true);
  reference->setUpstreamName("refs/remotes/origin/main");
  reference->setTag(std::numeric_limits<std::int64_t>::min());
  const auto read = archivedAndRead<KPReference>(Object(reference));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 3);
  EXPECT_EQ(read->name(), reference->name());
  EXPECT_EQ(read->fullName(), reference->fullName());
  EXPECT_EQ(read->oid(), reference->oid());
  EXPECT_TRUE(read->isHead());
  EXPECT_TRUE(read->isDetached());
  EXPECT_EQ(read->upstreamName(), reference->upstreamName());
  EXPECT_EQ(read->tag(), reference->tag());
}

TEST(KPReference, EachFlagStandsUnderItsOwnKey) {
  const auto head = readReference({{"head", true}});
  ASSERT_NE(head, nullptr);
  EXPECT_TRUE(head->isHead());
  EXPECT_FALSE(head->isDetached());
  const auto detached = readReference({{"detached", true}});
  ASSERT_NE(detached, nullptr);
  EXPECT_FALSE(detached->isHead());
  EXPECT_TRUE(detached->isDetached());
}

TEST(KPReference, MissingKeysGiveNothing) {
  const auto read = readReference({});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 0);
  EXPECT_EQ(read->name(), std::nullopt);
  EXPECT_EQ(read->fullName(), std::nullopt);
  EXPECT_EQ(read->oid(), std::nullopt);
  EXPECT_FALSE(read->isHead());
  EXPECT_FALSE(read->isDetached());
  EXPECT_EQ(read->upstreamName(), std::nullopt);
  EXPECT_EQ(read->tag(), 0);
}

TEST(KPReference, ValuesOfOtherClassesReadAsMissing) {
  const auto read = readReference({{"type", "two"},
                                   {"name", 12},
                                   {"fullName", Bytes{'x'}},
                                   {"oid", "1f26"},
                                   {"head", "YES"},
                                   {"detached", Objects{}},
                                   {"upstreamName", Objects{"refs/remotes/origin/main"}},
                                   {"tag", Bytes{1}}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 0);
  EXPECT_EQ(read->name(), std::nullopt);
  EXPECT_EQ(read->fullName(), std::nullopt);
  EXPECT_EQ(read->oid(), std::nullopt);
  EXPECT_FALSE(read->isHead());
  EXPECT_FALSE(read->isDetached());
  EXPECT_EQ(read->upstreamName(), std::nullopt);
  EXPECT_EQ(read->tag(), 0);
}

TEST(KPReference, EmptyOidIsPresentAndMissingOneIsNot) {
  const auto empty = readReference({{"oid", Bytes{}}});
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty->oid(), Bytes{});
  const auto nil = readReference({{"oid", Object()}});
  ASSERT_NE(nil, nullptr);
  EXPECT_EQ(nil->oid(), std::nullopt);
}

TEST(KPReference, EmptyNameIsPresent) {
  const auto read = readReference({{"name", ""}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->name(), "");
}

TEST(KPReference, TypesOfTheMainApplicationAreCarried) {
  const auto read = readReference({{"type", -17}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), -17);
}

TEST(KPReference, ClassThatNobodyKnowsIsReadAsItsKnownAncestor) {
  const auto read = archivedAndRead<KPReference>(
      OpaqueObject{{"KPWorktree", "KPReference", "NSObject"}, {{"name", "wt"}}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->name(), "wt");
}

}  // namespace
}  // namespace kelpie
