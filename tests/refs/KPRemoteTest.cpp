#include "refs/KPRemote.h"

#include <gtest/gtest.h>

#include <memory>

#include "refs/ArchiveRoundTrip.h"
#include "refs/RecordingEncoder.h"

namespace kelpie {
namespace {

std::shared_ptr<const KPRemote> readRemote(ArchivedKeys keys) {
  return readFromKeys<KPRemote>("KPRemote", std::move(keys));
}

TEST(KPRemote, NewOneIsARemoteWithoutAName) {
  const KPRemote remote;
  EXPECT_EQ(remote.type(), 4);
  EXPECT_EQ(remote.name(), std::nullopt);
  EXPECT_EQ(remote.url(), std::nullopt);
  EXPECT_EQ(remote.pushUrl(), std::nullopt);
  EXPECT_TRUE(remote.fetchRefspecs().isNil());
  EXPECT_TRUE(remote.pushRefspecs().isNil());
  EXPECT_EQ(remote.autotag(), 0);
  EXPECT_FALSE(remote.skipFetchAll());
}

TEST(KPRemote, NewOneWithANameIsARemote) {
  const KPRemote remote("origin");
  EXPECT_EQ(remote.type(), 4);
  EXPECT_EQ(remote.name(), "origin");
}

TEST(KPRemote, NewOneWithAnotherTypeIsARemoteOfThatName) {
  const KPRemote remote(3, "origin");
  EXPECT_EQ(remote.type(), 4);
  EXPECT_EQ(remote.name(), "origin");
}

TEST(KPRemote, TypeCanBeSetLater) {
  KPRemote remote;
  remote.setType(9);
  EXPECT_EQ(remote.type(), 9);
}

TEST(KPRemote, RefspecsAreCopiedWhenSet) {
  KPRemote remote;
  remote.setFetchRefspecs(Object(Objects{"+a:b"}).mutableCopy());
  EXPECT_FALSE(remote.fetchRefspecs().isMutable());
  EXPECT_EQ(remote.fetchRefspecs().at(0).stringValue(), "+a:b");
  EXPECT_TRUE(remote.pushRefspecs().isNil());
  remote.setPushRefspecs("no array");
  EXPECT_TRUE(remote.pushRefspecs().isNil());
}

TEST(KPRemote, WritesTheKeysOfAReferenceFirst) {
  KPRemote remote("origin");
  remote.setUrl("git@h:o/r.git");
  remote.setPushRefspecs(Objects{});
  remote.setAutotag(-2);
  remote.setSkipFetchAll(true);
  RecordingEncoder encoder;
  remote.encodeWithCoder(encoder);
  EXPECT_EQ(encoder.calls,
            (std::vector<std::string>{
                "integer type 4", "object name", "object fullName nil", "object oid nil",
                "bool head NO", "bool detached NO", "object upstreamName nil", "integer tag 0",
                "object url", "object pushUrl nil", "object fetchRefspecs nil",
                "object pushRefspecs", "integer autotag -2", "bool skipFetchAll YES"}));
}

TEST(KPRemote, ComesBackFromItsArchive) {
  const auto remote = std::make_shared<KPRemote>("team/origin");
  remote->setTag(300);
  remote->setUrl("git@h:o/r.git");
  remote->setPushUrl("ssh://git@h/o/r.git");
  remote->setFetchRefspecs(Objects{"+refs/heads/*:refs/remotes/origin/*", "+refs/tags/*"});
  remote->setPushRefspecs(Objects{"main"});
  remote->setAutotag(-2);
  remote->setSkipFetchAll(true);
  const auto read = archivedAndRead<KPRemote>(Object(remote));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 4);
  EXPECT_EQ(read->name(), "team/origin");
  EXPECT_EQ(read->tag(), 300);
  EXPECT_EQ(read->url(), "git@h:o/r.git");
  EXPECT_EQ(read->pushUrl(), "ssh://git@h/o/r.git");
  EXPECT_TRUE(read->fetchRefspecs().isEqual(remote->fetchRefspecs()));
  EXPECT_TRUE(read->pushRefspecs().isEqual(remote->pushRefspecs()));
  EXPECT_EQ(read->autotag(), -2);
  EXPECT_TRUE(read->skipFetchAll());
}

TEST(KPRemote, MissingRefspecsAreNotAnEmptyList) {
  const auto read = readRemote({{"pushRefspecs", Objects{}}});
  ASSERT_NE(read, nullptr);
  EXPECT_TRUE(read->fetchRefspecs().isNil());
  EXPECT_TRUE(read->pushRefspecs().isArray());
  EXPECT_EQ(read->pushRefspecs().size(), 0U);
  EXPECT_FALSE(read->skipFetchAll());
}

TEST(KPRemote, ArchivedWithoutATypeHasTypeZero) {
  const auto read = readRemote({{"name", "origin"}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 0);
  EXPECT_EQ(read->name(), "origin");
}

TEST(KPRemote, ArchivedTypeReplacesThatOfTheClass) {
  const auto read = readRemote({{"type", 2}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 2);
}

TEST(KPRemote, ValuesOfOtherClassesReadAsMissing) {
  const auto read = readRemote({{"url", 1},
                                {"pushUrl", Objects{}},
                                {"fetchRefspecs", "+a:b"},
                                {"pushRefspecs", Bytes{1}},
                                {"autotag", "1"},
                                {"skipFetchAll", "YES"}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->url(), std::nullopt);
  EXPECT_EQ(read->pushUrl(), std::nullopt);
  EXPECT_TRUE(read->fetchRefspecs().isNil());
  EXPECT_TRUE(read->pushRefspecs().isNil());
  EXPECT_EQ(read->autotag(), 0);
  EXPECT_FALSE(read->skipFetchAll());
}

}  // namespace
}  // namespace kelpie
