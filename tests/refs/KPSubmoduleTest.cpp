#include "refs/KPSubmodule.h"

#include <gtest/gtest.h>

#include <memory>

#include "refs/ArchiveRoundTrip.h"
#include "refs/RecordingEncoder.h"

namespace kelpie {
namespace {

std::shared_ptr<const KPSubmodule> readSubmodule(ArchivedKeys keys) {
  return readFromKeys<KPSubmodule>("KPSubmodule", std::move(keys));
}

TEST(KPSubmodule, NewOneIsASubmoduleWithoutAName) {
  const KPSubmodule submodule;
  EXPECT_EQ(submodule.type(), 5);
  EXPECT_EQ(submodule.name(), std::nullopt);
  EXPECT_EQ(submodule.url(), std::nullopt);
  EXPECT_EQ(submodule.path(), std::nullopt);
  EXPECT_EQ(submodule.recurse(), 0);
  EXPECT_EQ(submodule.ignore(), 0);
  EXPECT_EQ(submodule.update(), 0);
}

TEST(KPSubmodule, NewOneWithAnotherTypeIsASubmoduleOfThatName) {
  EXPECT_EQ(KPSubmodule("zip").type(), 5);
  const KPSubmodule submodule(2, "zip");
  EXPECT_EQ(submodule.type(), 5);
  EXPECT_EQ(submodule.name(), "zip");
}

TEST(KPSubmodule, LastNameComponentIsTheWholeName) {
  EXPECT_EQ(KPSubmodule("libs/zip").lastNameComponent(), "libs/zip");
  EXPECT_EQ(KPSubmodule().lastNameComponent(), std::nullopt);
}

TEST(KPSubmodule, WritesTheKeysOfAReferenceFirst) {
  KPSubmodule submodule("zip");
  submodule.setPath("libs/zip");
  submodule.setRecurse(1);
  submodule.setIgnore(-1);
  submodule.setUpdate(3);
  RecordingEncoder encoder;
  submodule.encodeWithCoder(encoder);
  EXPECT_EQ(
      encoder.calls,
      (std::vector<std::string>{
          "integer type 5", "object name", "object fullName nil", "object oid nil", "bool head NO",
          "bool detached NO", "object upstreamName nil", "integer tag 0", "object url nil",
          "object path", "integer recurse 1", "integer ignore -1", "integer update 3"}));
}

TEST(KPSubmodule, ComesBackFromItsArchive) {
  const auto submodule = std::make_shared<KPSubmodule>("libs/zip");
  submodule->setOid(Bytes{7});
  submodule->setUrl("https://h/zip.git");
  submodule->setPath("libs/zip");
  submodule->setRecurse(1);
  submodule->setIgnore(-1);
  submodule->setUpdate(3);
  const auto read = archivedAndRead<KPSubmodule>(Object(submodule));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 5);
  EXPECT_EQ(read->name(), "libs/zip");
  EXPECT_EQ(read->oid(), Bytes{7});
  EXPECT_EQ(read->url(), "https://h/zip.git");
  EXPECT_EQ(read->path(), "libs/zip");
  EXPECT_EQ(read->recurse(), 1);
  EXPECT_EQ(read->ignore(), -1);
  EXPECT_EQ(read->update(), 3);
}

TEST(KPSubmodule, PathThatIsNotUtf8IsNotLost) {
  const auto submodule = std::make_shared<KPSubmodule>("zip");
  submodule->setPath("libs/z\xff");
  const auto read = archivedAndRead<KPSubmodule>(Object(submodule));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->path(), "libs/z\xff");
}

TEST(KPSubmodule, MissingKeysGiveNothing) {
  const auto read = readSubmodule({});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 0);
  EXPECT_EQ(read->url(), std::nullopt);
  EXPECT_EQ(read->path(), std::nullopt);
  EXPECT_EQ(read->recurse(), 0);
  EXPECT_EQ(read->ignore(), 0);
  EXPECT_EQ(read->update(), 0);
}

TEST(KPSubmodule, ValuesOfOtherClassesReadAsMissing) {
  const auto read = readSubmodule(
      {{"url", 1}, {"path", 2}, {"recurse", "1"}, {"ignore", Objects{1}}, {"update", Bytes{1}}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->url(), std::nullopt);
  EXPECT_EQ(read->path(), std::nullopt);
  EXPECT_EQ(read->recurse(), 0);
  EXPECT_EQ(read->ignore(), 0);
  EXPECT_EQ(read->update(), 0);
}

}  // namespace
}  // namespace kelpie
