#include "agent/link/ExtensionErrors.h"

#include <gtest/gtest.h>

#include "agent/FakeNotifier.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"

namespace kelpie::agent {
namespace {

class ExtensionErrorsTest : public testing::Test {
 protected:
  EventLog events_;
  FakeLog log_{events_};
  FakeNotifier notifier_;
  ExtensionErrors errors_{log_, notifier_};
};

TEST_F(ExtensionErrorsTest, ErrorsAndTheirUserInformationAreShown) {
  const Dictionary information = {{kLocalizedDescriptionKey, "A"},
                                  {kLocalizedRecoverySuggestionErrorKey, "B"}};
  EXPECT_TRUE(errors_.show(Error{"d", -1, information}));
  EXPECT_TRUE(errors_.show(Dictionary{{kLocalizedDescriptionKey, "C"}}));
  EXPECT_TRUE(errors_.show(Error{"NSCocoaErrorDomain", 260, {}}));
  ASSERT_EQ(notifier_.shown.size(), 3U);
  EXPECT_EQ(notifier_.shown[0].title, "A");
  EXPECT_EQ(notifier_.shown[0].text, "B");
  EXPECT_EQ(notifier_.shown[1].title, "C");
  EXPECT_EQ(notifier_.shown[2].text, "NSCocoaErrorDomain 260");
  EXPECT_EQ(log_.lines()[0], "extension: A: B");
}

TEST_F(ExtensionErrorsTest, TheSameMessageComesAsJsonWhenThePortHasFailed) {
  EXPECT_TRUE(errors_.showJson(R"({"KPMessageSelector":"showError:","KPMessageArgument":
      {"NSLocalizedDescription":"A","NSLocalizedRecoverySuggestion":"B"}})"));
  EXPECT_EQ(notifier_.shown.size(), 1U);
}

TEST_F(ExtensionErrorsTest, WhatIsNoErrorIsNotShown) {
  EXPECT_FALSE(errors_.show({}));
  EXPECT_FALSE(errors_.show("text"));
  EXPECT_FALSE(errors_.show(Dictionary{{"a", "b"}}));
  const std::string cases[] = {"",
                               "{",
                               "[]",
                               "7",
                               "\xFF",
                               R"({"KPMessageSelector":7})",
                               R"({"KPMessageSelector":"showError:"})",
                               R"({"KPMessageSelector":"showError:","KPMessageArgument":"x"})",
                               R"({"KPMessageSelector":"quit:","KPMessageArgument":{}})",
                               std::string(60000, '['),
                               std::string(200000, ' ')};
  for (const std::string& text : cases) EXPECT_FALSE(errors_.showJson(text)) << text.substr(0, 60);
  EXPECT_TRUE(notifier_.shown.empty());
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(ExtensionErrorsTest, AnEndlessTextIsCut) {
  EXPECT_TRUE(errors_.show(Dictionary{{kLocalizedDescriptionKey, std::string(1000000, 'x')}}));
  EXPECT_LT(log_.lines()[0].size(), 10000U);
  EXPECT_LT(notifier_.shown[0].title.size(), 10000U);
}

}  // namespace
}  // namespace kelpie::agent
