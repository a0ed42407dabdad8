#include "platform/UserDefaults.h"

#include <gtest/gtest.h>

#include "foundation/Bytes.h"
#include "support/EventLog.h"
#include "support/FakeUserDefaults.h"

namespace kelpie {
namespace {

class UserDefaultsReads : public testing::Test {
 protected:
  void store(const Object& value) { defaults.changeFromOutside("key", value); }

  EventLog events;
  FakeUserDefaults defaults{"suite", events};
};

TEST_F(UserDefaultsReads, Booleans) {
  struct Case {
    const char* why;
    Object value;
    bool want;
  };
  const Case cases[] = {
      {"missing", Object(), false},
      {"YES", Object(true), true},
      {"NO", Object(false), false},
      {"one", Object(1), true},
      {"any number", Object(-7), true},
      {"zero", Object(0), false},
      {"a real", Object(2.5), true},
      {"the text YES", Object("YES"), true},
      {"in lower case", Object("yes"), true},
      {"the text true", Object("true"), true},
      {"the text 1", Object("1"), true},
      {"a larger number", Object("42"), true},
      {"a sign and zeros in front", Object("-007"), true},
      {"blanks in front", Object(" \tYES"), true},
      {"the text NO", Object("NO"), false},
      {"the text false", Object("false"), false},
      {"the text 0", Object("0"), false},
      {"only zeros", Object("000"), false},
      {"only a sign", Object("-"), false},
      {"two signs", Object("--1"), false},
      {"another word", Object("on"), false},
      {"an empty text", Object(""), false},
      {"only blanks", Object("  "), false},
      {"data", Object(Bytes{1}), false},
      {"an array", Object(Objects{Object(true)}), false},
      {"a dictionary", Object(Dictionary{{"a", true}}), false},
  };
  for (const Case& c : cases) {
    store(c.value);
    EXPECT_EQ(defaults.boolForKey("key"), c.want) << c.why;
  }
}

TEST_F(UserDefaultsReads, Strings) {
  struct Case {
    const char* why;
    Object value;
    std::optional<std::string> want;
  };
  const Case cases[] = {
      {"missing", Object(), std::nullopt},
      {"a string", Object("1.2"), "1.2"},
      {"an empty string", Object(""), ""},
      {"an integer", Object(12), "12"},
      {"a negative integer", Object(-3), "-3"},
      {"a real", Object(1.5), "1.5"},
      {"a real without a fraction", Object(2.0), "2"},
      {"a real that binary cannot hold", Object(0.1), "0.1"},
      {"a boolean", Object(true), "1"},
      {"data", Object(Bytes{'1'}), std::nullopt},
      {"an array", Object(Objects{Object("1")}), std::nullopt},
  };
  for (const Case& c : cases) {
    store(c.value);
    EXPECT_EQ(defaults.stringForKey("key"), c.want) << c.why;
  }
}

TEST_F(UserDefaultsReads, ArraysAndDictionaries) {
  store(Objects{Object("a"), Object("b")});
  EXPECT_EQ(defaults.arrayForKey("key").size(), 2U);
  EXPECT_TRUE(defaults.dictionaryForKey("key").isNil());
  store(Dictionary{{"a", 1}});
  EXPECT_TRUE(defaults.arrayForKey("key").isNil());
  EXPECT_EQ(defaults.dictionaryForKey("key")["a"].integerValue(), 1);
  store(Object::set({Object("a")}));
  EXPECT_TRUE(defaults.arrayForKey("key").isNil());
  store(Object("a"));
  EXPECT_TRUE(defaults.arrayForKey("key").isNil());
  EXPECT_TRUE(defaults.dictionaryForKey("key").isNil());
}

TEST_F(UserDefaultsReads, AStoredValueOfAnotherClassDoesNotFallBackToTheRegisteredOne) {
  defaults.registerDefaults({{"key", "registered"}});
  EXPECT_EQ(defaults.stringForKey("key"), "registered");
  store(Bytes{1});
  EXPECT_EQ(defaults.stringForKey("key"), std::nullopt);
}

}  // namespace
}  // namespace kelpie
