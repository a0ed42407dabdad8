#include "extension/AppMessage.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace kelpie {
namespace {

using nlohmann::json;

TEST(AppMessage, HoldsExactlyTheKeysOfAnErrorMessage) {
  const json wanted = {
      {"KPMessageSelector", "showError:"},
      {"KPMessageArgument",
       {{"NSLocalizedDescription", "Finder extension failed to send message to application"},
        {"NSLocalizedRecoverySuggestion", "There was an error, status -1."}}}};
  EXPECT_EQ(json::parse(appMessage("There was an error, status -1.")), wanted);
}

TEST(AppMessage, HasNoBlankOrLineBreakOutsideItsTexts) {
  EXPECT_EQ(appMessage("x"),
            "{\"KPMessageSelector\":\"showError:\",\"KPMessageArgument\":{"
            "\"NSLocalizedDescription\":\"Finder extension failed to send message to "
            "application\",\"NSLocalizedRecoverySuggestion\":\"x\"}}");
}

TEST(AppMessage, EveryByteComesBackFromAParser) {
  for (int code = 0; code < 0x80; ++code) {
    const std::string text(3, static_cast<char>(code));
    EXPECT_EQ(json::parse(jsonString(text)), json(text)) << code;
  }
  for (const std::string text : {"", "\"quoted\" \\ back", "a\u00e9\u2026\U0001F436", "</script>"})
    EXPECT_EQ(json::parse(jsonString(text)), json(text));
}

TEST(AppMessage, WhatIsNoUtf8IsReplaced) {
  EXPECT_EQ(json::parse(jsonString("a\xff"
                                   "b\xc3")),
            json("a\ufffd"
                 "b\ufffd"));
  EXPECT_EQ(
      json::parse(appMessage("\xed\xa0\x80"))["KPMessageArgument"]["NSLocalizedRecoverySuggestion"],
      json("\ufffd\ufffd\ufffd"));
}

}  // namespace
}  // namespace kelpie
