#include "platform/linux/LinuxUserDefaults.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "archive/PropertyList.h"
#include "platform/linux/LinuxUserDefaultsCenter.h"
#include "support/EnvironmentVariable.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/TemporaryFolder.h"
#include "support/linux/FullTable.h"

namespace kelpie {
namespace {

constexpr const char* kSuite = "group.org.kelpie";

class LinuxUserDefaultsTest : public testing::Test {
 protected:
  LinuxUserDefaultsTest() { defaults = center.defaultsWithSuiteName(kSuite); }

  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }

  // -- Another process ---------------------------------------------------------------------------

  void change(const std::string& key, const Object& value) const {
    EXPECT_EQ(file().update([&](Dictionary& values) {
      if (value.isNil())
        values.remove(Object(key));
      else
        values.set(key, value);
      return true;
    }),
              std::nullopt);
  }
  // Puts any bytes in the place of the file in one step.
  void replaceFile(std::string_view contents) const {
    const std::string other = home.addFile("other", contents);
    ASSERT_EQ(::rename(other.c_str(), file().path().c_str()), 0);
  }
  static DefaultsFile file() { return DefaultsFile::ofSuite(kSuite).value(); }

  std::unique_ptr<DefaultsObservation> observe(const std::string& key) {
    return defaults->observe(key, [this, key] { told.push_back(key); });
  }
  // Lets what happened before this be told: a change of another key is seen after it.
  void settle() {
    bool seen = false;
    const auto observation = defaults->observe("settled", [&] { seen = true; });
    change("settled", ++settled);
    ASSERT_TRUE(runUntil([&] { return seen; }));
  }

  TemporaryFolder home;
  EnvironmentVariable variable{"XDG_CONFIG_HOME", home.path().c_str()};
  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  LinuxUserDefaultsCenter center{loop, "org.kelpie.Kelpie.Sync"};
  std::unique_ptr<UserDefaults> defaults;
  std::vector<std::string> told;
  int settled = 0;
};

// -- Files ---------------------------------------------------------------------------------------

TEST_F(LinuxUserDefaultsTest, TheFolderIsMadeForItsUserAlone) {
  struct stat status = {};
  ASSERT_EQ(::lstat((home / "kelpie").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  EXPECT_TRUE(std::filesystem::is_empty(home / "kelpie")) << "looking writes nothing";
}

TEST_F(LinuxUserDefaultsTest, ASuiteAndTheStandardDefaultsAreFilesOfTheirOwn) {
  defaults->setObject("key", "of the suite");
  center.standardDefaults().setObject("key", "of the bundle");
  EXPECT_EQ(file().read().values["key"].stringValue(), "of the suite");
  const DefaultsFile standard(home / "kelpie/org.kelpie.Kelpie.Sync.plist");
  EXPECT_EQ(standard.read().values["key"].stringValue(), "of the bundle");
  EXPECT_EQ(center.standardDefaults().stringForKey("key"), "of the bundle");
}

TEST_F(LinuxUserDefaultsTest, ASuiteThatCannotBeAFileIsNotOpened) {
  EXPECT_EQ(center.defaultsWithSuiteName("../suite"), nullptr);
  EXPECT_EQ(center.defaultsWithSuiteName(""), nullptr);
}

// -- Values --------------------------------------------------------------------------------------

TEST_F(LinuxUserDefaultsTest, AStoredValueCountsMoreThanARegisteredOneWhichStaysInMemory) {
  defaults->registerDefaults({{"a", "registered"}, {"b", "registered"}});
  defaults->registerDefaults({{"c", "registered later"}});
  defaults->setObject("a", "stored");
  EXPECT_EQ(defaults->stringForKey("a"), "stored");
  EXPECT_EQ(defaults->stringForKey("b"), "registered");
  EXPECT_EQ(defaults->stringForKey("c"), "registered later");
  EXPECT_TRUE(defaults->objectForKey("d").isNil());
  EXPECT_EQ(defaults->dictionaryRepresentation().size(), 3U);
  EXPECT_EQ(file().read().values.size(), 1U);
  defaults->removeObject("a");
  EXPECT_EQ(defaults->stringForKey("a"), "registered");
  EXPECT_TRUE(file().read().values.empty());
}

TEST_F(LinuxUserDefaultsTest, EveryReadSeesTheFileThatIsThereNow) {
  for (int i = 0; i < 20; ++i) {
    change("version", std::to_string(i));
    // The main loop has not run: no event has told of it.
    EXPECT_EQ(defaults->stringForKey("version"), std::to_string(i));
  }
  ASSERT_EQ(::unlink(file().path().c_str()), 0);
  EXPECT_TRUE(defaults->objectForKey("version").isNil()) << "a removed file reads as empty";
  EXPECT_TRUE(defaults->dictionaryRepresentation().empty());
}

TEST_F(LinuxUserDefaultsTest, WritingKeepsWhatOthersWroteMeanwhile) {
  defaults->setObject("mine", 1);
  change("theirs", 2);
  defaults->setObject("mine", 3);
  EXPECT_EQ(file().read().values["theirs"].integerValue(), 2);
  EXPECT_EQ(file().read().values["mine"].integerValue(), 3);
}

TEST_F(LinuxUserDefaultsTest, SettingWhatIsThereWritesNothing) {
  defaults->setObject("key", "value");
  const DefaultsFile::Reading before = file().read();
  defaults->setObject("key", "value");
  defaults->removeObject("missing");
  EXPECT_EQ(file().stamp(), before.stamp);
}

TEST_F(LinuxUserDefaultsTest, ReadsOnManyThreadsAreWholeWhileTheFileIsReplaced) {
  change("pair", Objects{0, 0});
  std::atomic<bool> stop = false;
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t)
    readers.emplace_back([&] {
      while (!stop) {
        const Object pair = defaults->arrayForKey("pair");
        EXPECT_EQ(pair.size(), 2U);
        EXPECT_TRUE(pair.at(0).isEqual(pair.at(1)));
      }
    });
  for (int i = 1; i <= 20; ++i) change("pair", Objects{i, i});
  stop = true;
  for (std::thread& reader : readers) reader.join();
}

// -- Failures ------------------------------------------------------------------------------------

TEST_F(LinuxUserDefaultsTest, AFileThatDoesNotParseLeavesTheFormerValuesAndIsLoggedOnce) {
  change("key", "former");
  const auto observation = observe("key");
  settle();
  told.clear();
  replaceFile("this is no property list");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(defaults->stringForKey("key"), "former");
  const std::string line = file().path() + " does not hold settings; the former settings stay";
  EXPECT_EQ(log.lines(), std::vector<std::string>{line});

  replaceFile("nor is this one");
  EXPECT_EQ(defaults->stringForKey("key"), "former");
  EXPECT_EQ(log.lines(), (std::vector<std::string>{line, line})) << "another file, another line";

  defaults->setObject("key", "mine");
  EXPECT_EQ(defaults->stringForKey("key"), "former");
  EXPECT_EQ(log.lines().back(),
            "the setting key is not stored: " + file().path() + " does not hold settings");
  EXPECT_TRUE(told.empty());

  replaceFile(textOf(PropertyList::write(Dictionary{{"key", "new"}}).value()));
  EXPECT_EQ(defaults->stringForKey("key"), "new") << "and service goes on";
}

TEST_F(LinuxUserDefaultsTest, AFileThatDoesNotParseAtTheStartReadsAsEmptyAndIsLoggedOnce) {
  replaceFile("this is no property list");
  const auto store = center.defaultsWithSuiteName(kSuite);
  EXPECT_TRUE(store->dictionaryRepresentation().empty());
  EXPECT_TRUE(store->objectForKey("key").isNil());
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(LinuxUserDefaultsTest, AFileThatCannotBeReadForAMomentIsReadAgainAndItsObserversAreTold) {
  change("key", "value");
  std::unique_ptr<UserDefaults> late;
  {
    const FullTable full;
    late = center.defaultsWithSuiteName(kSuite);
    EXPECT_TRUE(late->objectForKey("key").isNil());
    EXPECT_TRUE(late->objectForKey("key").isNil());
  }
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"cannot read " + file().path() +
                                     ": Too many open files; the former settings stay"});
  const auto observation = late->observe("key", [this] { told.emplace_back("key"); });
  EXPECT_TRUE(runUntil([&] { return !told.empty(); }));
  EXPECT_TRUE(late->objectForKey("key").isEqual(Object("value")));
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(LinuxUserDefaultsTest, AValueThatCannotBeStoredLeavesTheFormerOne) {
  defaults->setObject("key", "former");
  defaults->setObject("key", URL::fileURLWithPath("/x", false));
  EXPECT_EQ(defaults->stringForKey("key"), "former");
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_TRUE(log.lines().front().starts_with("the setting key is not stored: "));
}

TEST(LinuxUserDefaultsCenter, AFolderThatCannotBeMadeIsOneLogLineAndReadsAreEmpty) {
  const TemporaryFolder home;
  const EnvironmentVariable variable("XDG_CONFIG_HOME", home.addFile("file").c_str());
  EventLog events;
  FakeLog log(events);
  MainLoop loop(log);
  LinuxUserDefaultsCenter center(loop, "org.kelpie.Kelpie.Sync");
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"cannot make " + (home / "file") + ": File exists"});
  EXPECT_TRUE(center.standardDefaults().dictionaryRepresentation().empty());
  EXPECT_EQ(log.lines().size(), 1U);
}

// -- Observers -----------------------------------------------------------------------------------

TEST_F(LinuxUserDefaultsTest, AKeyThatAnotherProcessChangesTellsItsObservers) {
  const auto observation = observe("KPFoldersPaths");
  const auto other = observe("other");
  change("KPFoldersPaths", Objects{1});
  EXPECT_TRUE(told.empty()) << "on the main loop";
  EXPECT_TRUE(runUntil([&] { return !told.empty(); }));
  settle();
  EXPECT_EQ(told, std::vector<std::string>{"KPFoldersPaths"}) << "once, and only this one";
  change("KPFoldersPaths", Object());
  settle();
  EXPECT_EQ(told.size(), 2U) << "a value that goes is a change";
}

TEST_F(LinuxUserDefaultsTest, AFileWithTheSameValueTellsNobody) {
  change("key", Dictionary{{"a", Objects{1, "b"}}});
  settle();
  const auto observation = observe("key");
  change("key", Dictionary{{"a", Objects{1, "b"}}});
  settle();
  EXPECT_TRUE(told.empty());
}

TEST_F(LinuxUserDefaultsTest, ARemovedFileIsAChange) {
  change("key", 1);
  settle();
  const auto observation = observe("key");
  ASSERT_EQ(::unlink(file().path().c_str()), 0);
  EXPECT_TRUE(runUntil([&] { return !told.empty(); }));
}

TEST_F(LinuxUserDefaultsTest, AReadThatIsFasterThanTheEventHidesNothingFromTheObservers) {
  const auto observation = observe("key");
  change("key", 1);
  EXPECT_EQ(defaults->objectForKey("key").integerValue(), 1);
  EXPECT_TRUE(runUntil([&] { return !told.empty(); }));
}

TEST_F(LinuxUserDefaultsTest, AChangeJustBeforeTheObserverCameIsTold) {
  EXPECT_TRUE(defaults->objectForKey("key").isNil());
  change("key", 1);
  const auto observation = observe("key");
  EXPECT_TRUE(runUntil([&] { return !told.empty(); }));
}

TEST_F(LinuxUserDefaultsTest, AnObservationThatIsLetGoIsNotTold) {
  auto observation = observe("key");
  observation.reset();
  change("key", 1);
  settle();
  EXPECT_TRUE(told.empty());
}

TEST_F(LinuxUserDefaultsTest, AnObserverMayReadWriteAndLetItselfGo) {
  std::unique_ptr<DefaultsObservation> observation = defaults->observe("key", [&] {
    told.push_back(defaults->stringForKey("key").value_or(""));
    observation.reset();
    defaults->setObject("seen", true);
  });
  change("key", "value");
  EXPECT_TRUE(runUntil([&] { return defaults->boolForKey("seen"); }));
  EXPECT_EQ(told, std::vector<std::string>{"value"});
}

TEST_F(LinuxUserDefaultsTest, AnArgumentErrorCostsItsObserverOnly) {
  const auto raising =
      defaults->observe("key", [] { throw std::invalid_argument("absent value"); });
  const auto observation = observe("key");
  change("key", 1);
  EXPECT_TRUE(runUntil([&] { return !told.empty(); }));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"invalid argument: absent value"});
}

TEST_F(LinuxUserDefaultsTest, AChangeByThisProcessTellsItsObserversOnce) {
  const auto observation = observe("key");
  defaults->setObject("key", 1);
  settle();
  EXPECT_EQ(told, std::vector<std::string>{"key"});
}

TEST_F(LinuxUserDefaultsTest, TheFolderMayGoAndComeBack) {
  change("key", 1);
  settle();
  const auto observation = observe("key");
  std::filesystem::remove_all(home / "kelpie");
  EXPECT_TRUE(runUntil([&] { return told.size() == 1; })) << "gone is empty";
  change("key", 2);
  EXPECT_TRUE(runUntil([&] { return told.size() == 2; }));
  std::filesystem::rename(home / "kelpie", home / "elsewhere");
  EXPECT_TRUE(runUntil([&] { return told.size() == 3; }));
  change("key", 3);
  EXPECT_TRUE(runUntil([&] { return told.size() == 4; }));
  EXPECT_EQ(log.lines(), std::vector<std::string>{});
}

}  // namespace
}  // namespace kelpie
