#include "foundation/ObjectView.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/AllocationMeter.h"
#include "foundation/Dictionary.h"
#include "foundation/MenuItem.h"
#include "support/ArchiveJson.h"

namespace kelpie {
namespace {

static_assert(std::is_trivially_copyable_v<ObjectView>);

Object statusMessage() {
  Dictionary status;
  for (int file = 0; file < 2000; ++file) {
    status.set(Bytes{1, static_cast<std::uint8_t>(file), static_cast<std::uint8_t>(file >> 8), 9},
               Objects{file, "/repository/folder/file" + std::to_string(file)});
  }
  return Dictionary{{"KPMessageSelector", "setStatusInfo:"},
                    {"KPMessageArgument", Dictionary{{"KPRepositoryStatus", std::move(status)}}}};
}

Object opened(const Object& object) {
  return KeyedUnarchiver::open(
      std::make_shared<const Bytes>(KeyedArchiver::archivedData(object).value_or(Bytes())));
}

TEST(ObjectView, AMessageIsWalkedInPlaceWithoutAllocating) {
  const Object message = opened(statusMessage());
  std::uint64_t sum = 0;
  std::size_t entries = 0;
  const AllocationMeter meter;
  const ObjectView view(message);
  EXPECT_TRUE(view["KPMessageSelector"].isEqualToString("setStatusInfo:"));
  EXPECT_FALSE(view["KPMessageSelector"].isEqualToString("setStatusInfo"));
  view["KPMessageArgument"]["KPRepositoryStatus"].forEachEntry(
      [&](ObjectView key, ObjectView value) {
        entries += key.data() && key.data()->size() == 4 ? 1 : 0;
        sum += value.at(0).unsignedShortValue();
        sum += value.size();
        return true;
      });
  EXPECT_EQ(meter.count(), 0U);
  EXPECT_EQ(entries, 2000U);
  EXPECT_EQ(sum, 1999U * 1000 + 2 * 2000);
}

TEST(ObjectView, ReadingOneKeyOfALargeMessageTakesNothing) {
  const auto archive =
      std::make_shared<const Bytes>(KeyedArchiver::archivedData(statusMessage()).value_or(Bytes()));
  const AllocationMeter meter;
  const Object message = KeyedUnarchiver::open(archive);
  EXPECT_EQ(message["KPMessageSelector"].stringValue(), "setStatusInfo:");
  EXPECT_LT(meter.peak(), 8192U);
}

TEST(ObjectView, AWalkEndsWhenItIsTold) {
  for (const Object& array : {Object(Objects{1, 2, 3}), opened(Objects{1, 2, 3})}) {
    int visits = 0;
    ObjectView(array).forEachElement([&](ObjectView element) {
      ++visits;
      return element.integerValue() < 2;
    });
    EXPECT_EQ(visits, 2);
  }
  const Dictionary dictionary{{"a", 1}, {"b", 2}, {"c", 3}};
  for (const Object& entries : {Object(dictionary), opened(dictionary)}) {
    int visits = 0;
    ObjectView(entries).forEachEntry([&](ObjectView /*key*/, ObjectView /*value*/) {
      ++visits;
      return false;
    });
    EXPECT_EQ(visits, 1);
  }
}

TEST(ObjectView, BuiltAndOpenedReadTheSame) {
  const Object built = Dictionary{{"text", "mü"},
                                  {"bytes", Bytes{1, 2}},
                                  {"url", *URL::fromString("file:///a")},
                                  {"list", Objects{1, Objects{2}}},
                                  {Bytes{7}, "under data"},
                                  {5, "under a number"}};
  for (const Object& object : {built, opened(built)}) {
    const ObjectView view(object);
    EXPECT_EQ(view.kind(), Object::Kind::Dictionary);
    EXPECT_EQ(view.size(), 6U);
    EXPECT_EQ(view["text"].stringValue(), "mü");
    EXPECT_TRUE(view["text"].isEqualToString("mü"));
    EXPECT_FALSE(view["text"].isEqualToString("mu"));
    EXPECT_EQ(view["text"].pathBytes(), "mü");
    EXPECT_EQ(view["bytes"].pathBytes(), "\x01\x02");
    EXPECT_EQ(view["bytes"].data()->size(), 2U);
    EXPECT_FALSE(view["text"].data());
    EXPECT_EQ(view["url"].url()->path(), "/a");
    EXPECT_FALSE(view["text"].url());
    EXPECT_EQ(view["list"].at(1).at(0).integerValue(), 2);
    EXPECT_TRUE(view["list"].at(2).isNil());
    EXPECT_TRUE(view["list"]["text"].isNil());
    EXPECT_TRUE(view["missing"].isNil());
    EXPECT_TRUE(view.at(0).isNil());
    EXPECT_EQ(view[Object(Bytes{7})].stringValue(), "under data");
    EXPECT_EQ(view[Object(5.0)].stringValue(), "under a number");
    EXPECT_EQ(view[Object("text")].stringValue(), "mü");
    EXPECT_TRUE(view[Object()].isNil());
    EXPECT_EQ(archiveJson(view["list"].toObject()), archiveJson(built["list"]));
  }
}

TEST(ObjectView, TheElementsOfAnArrayBuiltOrOpened) {
  const Object array = Objects{1, "two", Objects{}};
  for (const Object& object : {array, opened(array)}) {
    const ObjectView view(object);
    const auto elements = view.array();
    ASSERT_TRUE(elements);
    ASSERT_EQ(elements->size(), 3U);
    EXPECT_EQ(elements->at(0).unsignedShortValue(), 1);
    EXPECT_TRUE(elements->at(1).isEqualToString("two"));
    EXPECT_TRUE(elements->at(2).array());
    EXPECT_EQ(elements->at(2).array()->size(), 0U);
    EXPECT_TRUE(elements->at(3).isNil());
  }
  for (const Object& other : {Object(), Object(1), Object("two"), Object(Dictionary{{"a", 1}}),
                              Object::set(Objects{1, 2})}) {
    EXPECT_FALSE(ObjectView(other).array());
    EXPECT_FALSE(ObjectView(opened(other)).array());
  }
}

TEST(ObjectView, OfNothing) {
  const ObjectView view;
  EXPECT_TRUE(view.isNil());
  EXPECT_TRUE(view.toObject().isNil());
  EXPECT_TRUE(view["a"].isNil());
  EXPECT_TRUE(view.at(0).isNil());
  EXPECT_EQ(view.size(), 0U);
  EXPECT_EQ(view.integerValue(), 0);
  EXPECT_EQ(view.stringValue(), "");
  EXPECT_FALSE(view.isEqualToString(""));
}

TEST(ObjectView, OneOpenedMessageOnSeveralThreads) {
  const auto item = std::make_shared<const MenuItem>("Stage");
  const Object message = opened(Dictionary{{"status", statusMessage()},
                                           {"item", Object(item)},
                                           {"url", *URL::fromString("file:///missing")}});
  std::atomic<int> wrong = 0;
  const auto read = [&] {
    const Object kept = message["item"];
    std::size_t entries = 0;
    ObjectView(message)["status"]["KPMessageArgument"]["KPRepositoryStatus"].forEachEntry(
        [&](ObjectView /*key*/, ObjectView value) {
          entries += value.at(1).stringValue().empty() ? 0 : 1;
          return true;
        });
    const bool isRight = entries == 2000 && kept.as<MenuItem>()->title == "Stage" &&
                         kept.archivable() == message["item"].archivable() &&
                         message["url"].url()->isSameObject(*message["url"].url());
    if (!isRight) ++wrong;
  };
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) threads.emplace_back(read);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace kelpie
