#include "protocol/hostlink/HostLineCodec.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <utility>
#include <variant>
#include <vector>

namespace kelpie::hostlink {
namespace {

using nlohmann::json;

// The line that a host wrote, as the extension reads it.
template <class Line>
Line passedOn(const Line& line) {
  const std::string text = lineOf(HostLine(line));
  EXPECT_EQ(text.find('\n'), text.size() - 1);
  const HostLineReading reading = readHostLine(text);
  EXPECT_EQ(reading.problem, "");
  return reading.line ? std::get<Line>(*reading.line) : Line();
}

// The line that the extension wrote, as a host reads it.
template <class Line>
Line answered(const Line& line) {
  const std::string text = lineOf(ExtensionLine(line));
  EXPECT_EQ(text.find('\n'), text.size() - 1);
  const auto reading = readExtensionLine(text);
  return reading ? std::get<Line>(*reading) : Line();
}

template <class Line>
Line readAs(const json& object) {
  return std::get<Line>(readExtensionLine(object.dump()).value());
}

TEST(HostLineCodec, WhatAHostSaysArrives) {
  EXPECT_EQ(passedOn(Hello{"nemo"}).host, "nemo");
  EXPECT_EQ(passedOn(Hello{"nemo"}).version, kVersion);
  EXPECT_EQ(passedOn(BeginObserving{"file:///a"}).url, "file:///a");
  EXPECT_EQ(passedOn(EndObserving{"file:///a"}).url, "file:///a");
  EXPECT_EQ(passedOn(RequestBadges{{"file:///a", "x\ny"}}).urls,
            (std::vector<std::string>{"file:///a", "x\ny"}));
  const MenuRequest menu = passedOn(MenuRequest{7, 3, {"file:///a"}, "file:///"});
  EXPECT_EQ(menu.id, 7);
  EXPECT_EQ(menu.kind, 3);
  EXPECT_EQ(menu.selected, (std::vector<std::string>{"file:///a"}));
  EXPECT_EQ(menu.targeted, "file:///");
  EXPECT_FALSE(menu.hasOthers);
  EXPECT_FALSE(passedOn(MenuRequest{7, 0, {}, {}}).targeted);
  const Choose choice = passedOn(Choose{8, 7, {1, 0}});
  EXPECT_EQ(choice.id, 8);
  EXPECT_EQ(choice.menu, 7);
  EXPECT_EQ(choice.path, (std::vector<std::size_t>{1, 0}));
}

TEST(HostLineCodec, WhatTheExtensionSaysArrives) {
  Welcome welcome;
  welcome.toolbarName = "name";
  welcome.toolbarToolTip = "tip";
  welcome.toolbarImage = "/t.png";
  welcome.badges["KPCurrentBadge"] = {"/c.png", "Current"};
  welcome.images["TagImage"] = "/tag.png";
  welcome.directories = {"file:///a/"};
  const Welcome greeted = answered(welcome);
  EXPECT_EQ(greeted.version, kVersion);
  EXPECT_EQ(greeted.toolbarName, "name");
  EXPECT_EQ(greeted.toolbarToolTip, "tip");
  EXPECT_EQ(greeted.toolbarImage, "/t.png");
  EXPECT_EQ(greeted.badges.at("KPCurrentBadge").image, "/c.png");
  EXPECT_EQ(greeted.badges.at("KPCurrentBadge").label, "Current");
  EXPECT_EQ(greeted.images, welcome.images);
  EXPECT_EQ(greeted.directories, welcome.directories);
  EXPECT_EQ(answered(Directories{{"file:///a"}}).urls, (std::vector<std::string>{"file:///a"}));
  const Badges badges{{{"file:///a", "X"}, {"file:///a", "Y"}}};
  EXPECT_EQ(answered(badges).badges, badges.badges) << "in order";
  EXPECT_EQ(answered(Done{8}).id, 8);
  EXPECT_EQ(answered(Error{nullptr, "no"}).id, nullptr);
  EXPECT_EQ(answered(Error{nullptr, "no"}).message, "no");
}

TEST(HostLineCodec, AMenuArrivesWithItsSubmenus) {
  Item inner;
  inner.title = "Ignore";
  inner.action = "ignoreItems:";
  inner.tag = -3;
  inner.isTicked = true;
  inner.isEnabled = true;
  inner.image = "TagImage";
  Item more;
  more.title = "More";
  more.hasSubmenu = true;
  more.submenuTitle = "More of it";
  more.submenu = {inner};
  const MenuAnswer menu = answered(MenuAnswer{7, true, "title", {more}});
  EXPECT_TRUE(menu.isThere);
  EXPECT_EQ(menu.title, "title");
  ASSERT_EQ(menu.items.size(), 1U);
  EXPECT_FALSE(menu.items[0].action);
  EXPECT_TRUE(menu.items[0].hasSubmenu);
  EXPECT_EQ(menu.items[0].submenuTitle, "More of it");
  ASSERT_EQ(menu.items[0].submenu.size(), 1U);
  const Item& got = menu.items[0].submenu[0];
  EXPECT_EQ(got.title, "Ignore");
  EXPECT_EQ(got.action, "ignoreItems:");
  EXPECT_EQ(got.tag, -3);
  EXPECT_TRUE(got.isTicked);
  EXPECT_TRUE(got.isEnabled);
  EXPECT_EQ(got.image, "TagImage");
  EXPECT_FALSE(answered(MenuAnswer{7, false, {}, {}}).isThere);
}

TEST(HostLineCodec, ANumberComesBackAsItWasGiven) {
  for (const Number& id : {Number(7), Number(-1), Number(1.5), Number(18446744073709551615U)})
    EXPECT_EQ(answered(Done{passedOn(Choose{id, 1, {}}).id}).id, id) << id;
  EXPECT_EQ(readHostLine(R"({"type":"choose","id":7,"menu":"x"})").id, 7)
      << "also of a line that was not understood";
  EXPECT_TRUE(readHostLine(R"({"type":"hello","id":"7"})").id.is_null());
}

TEST(HostLineCodec, ALineOfAHostThatSaysNothingSaysWhy) {
  for (const char* line : {"", "nonsense", "[]", "7", "{\"type\":\"hello\""}) {
    EXPECT_EQ(readHostLine(line).problem, "the line is no JSON object") << line;
    EXPECT_FALSE(readHostLine(line).isTypeKnown);
  }
  for (const char* line : {"{}", R"({"type":7})", R"({"type":"welcome"})"})
    EXPECT_EQ(readHostLine(line).problem, "the type of the line is not known") << line;
  for (const char* line :
       {R"({"type":"requestBadges"})", R"({"type":"requestBadges","urls":"x"})",
        R"({"type":"menu","kind":0})", R"({"type":"menu","id":1,"kind":"0"})",
        R"({"type":"menu","id":1,"kind":0,"selected":7})", R"({"type":"choose","id":1,"path":[]})",
        R"({"type":"choose","id":1,"menu":1,"path":[-1]})",
        R"({"type":"choose","id":1,"menu":1,"path":"0"})"}) {
    const HostLineReading reading = readHostLine(line);
    EXPECT_TRUE(reading.isTypeKnown) << line;
    EXPECT_FALSE(reading.line) << line;
    EXPECT_NE(reading.problem, "") << line;
  }
}

TEST(HostLineCodec, ElementsThatAreNoTextsAreLeftOutAndTold) {
  const auto badges = std::get<RequestBadges>(
      readHostLine(R"({"type":"requestBadges","urls":["a",7,"b"]})").line.value());
  EXPECT_EQ(badges.urls, (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(badges.hasOthers);
  const auto menu = std::get<MenuRequest>(
      readHostLine(R"({"type":"menu","id":1,"kind":18446744073709551615,"targeted":7})")
          .line.value());
  EXPECT_EQ(menu.kind, -1);
  EXPECT_TRUE(menu.hasOthers);
}

TEST(HostLineCodec, WhatTheExtensionSaysIsReadWhateverItHolds) {
  const auto welcome = readAs<Welcome>({{"type", "welcome"},
                                        {"version", "1"},
                                        {"badges", {{"A", 7}, {"B", {{"label", "b"}}}}},
                                        {"images", {{"C", 7}, {"D", "/d"}}},
                                        {"directories", {"a", 7}}});
  EXPECT_NE(welcome.version, kVersion);
  EXPECT_EQ(welcome.badges.at("A").label, "");
  EXPECT_EQ(welcome.badges.at("B").label, "b");
  EXPECT_EQ(welcome.images, (std::map<std::string, std::string>{{"D", "/d"}}));
  EXPECT_EQ(welcome.directories, (std::vector<std::string>{"a"}));
  const auto badges = readAs<Badges>(
      {{"type", "badges"},
       {"badges",
        {{"a", "X"}, {"a"}, {7, "X"}, {"b", nullptr}, {"c", "Y", "Z"}, "text", {"d", ""}}}});
  EXPECT_EQ(badges.badges,
            (std::vector<std::pair<std::string, std::string>>{{"a", "X"}, {"d", ""}}));
  const auto menu = readAs<MenuAnswer>(
      {{"type", "menu"},
       {"id", 1},
       {"menu", {{"items", {7, {{"title", 7}, {"enabled", 1}}, {{"tag", "x"}}}}}}});
  ASSERT_EQ(menu.items.size(), 3U) << "items keep their places";
  EXPECT_FALSE(menu.items[1].isEnabled);
  EXPECT_TRUE(std::holds_alternative<OtherLine>(readExtensionLine(R"({"type":"news"})").value()));
}

TEST(HostLineCodec, BracketsInTextsNestNothing) {
  const std::string many(50, '[');
  for (const std::string& text :
       {many, many + R"(\")" + many, R"(\")" + many, R"(\\)" + many, many + R"(\\\")"}) {
    const HostLineReading reading =
        readHostLine(R"({"type":"beginObserving","url":")" + text + R"("})");
    EXPECT_TRUE(reading.line) << text;
  }
  // The text ends behind two backslashes: what follows is nested.
  EXPECT_FALSE(
      readHostLine(R"({"x":"\\","type":"hello","y":)" + many + std::string(50, ']') + "}").line);
  EXPECT_FALSE(readHostLine(R"({"type":")" + many).line) << "a text without end";
}

TEST(HostLineCodec, BadgesAreWrittenAsAnyOtherLine) {
  const Badges badges{{{"file:///r/a%20b", "KPCurrentBadge"},
                       {"file:///r/\"\\\n\x7f\xc3\xa4\xff[", ""},
                       {"", "KP\tBadge"}}};
  const std::string line = lineOf(ExtensionLine(badges));
  ASSERT_TRUE(line.ends_with("\n"));
  const auto read = readExtensionLine(line.substr(0, line.size() - 1));
  ASSERT_TRUE(read);
  Badges expected = badges;
  expected.badges[1].first =
      "file:///r/\"\\\n\x7f\xc3\xa4\xef\xbf\xbd[";  // the byte that is no UTF-8
  EXPECT_EQ(std::get<Badges>(*read).badges, expected.badges);
  EXPECT_EQ(lineOf(ExtensionLine(Badges{})), "{\"badges\":[],\"type\":\"badges\"}\n");
}

// What has to be escaped is so, whatever stands beside it.
TEST(HostLineCodec, ABadgeMayHoldAnyText) {
  std::vector<std::string> texts = {"\xc3\xa4", "a\xe2\x82\xac"};
  for (int c = 0; c < 128; ++c) texts.push_back("a" + std::string(1, static_cast<char>(c)));
  Badges badges;
  for (const std::string& text : texts) badges.badges.emplace_back(text, text);
  EXPECT_EQ(answered(badges).badges, badges.badges);
  EXPECT_EQ(answered(Badges{{{"\xff", "a"}}}).badges.at(0).first, "\xef\xbf\xbd");
}

TEST(HostLineCodec, LinesThatNestTooDeepAreNone) {
  // The line itself is the outermost of so many.
  const auto lists = [](std::size_t depth) {
    return R"({"type":"hello","x":)" + std::string(depth - 1, '[') + std::string(depth - 1, ']') +
           "}";
  };
  const auto objects = [](std::size_t depth) {
    std::string line = R"({"type":"hello")";
    for (std::size_t left = depth - 1; left > 0; --left) line += R"(,"x":{"y":0)";
    return line + std::string(depth, '}');
  };
  EXPECT_TRUE(readHostLine(lists(16)).line);
  EXPECT_FALSE(readHostLine(lists(17)).line);
  EXPECT_TRUE(readHostLine(objects(16)).line);
  EXPECT_FALSE(readHostLine(objects(17)).line);
  EXPECT_TRUE(readExtensionLine(lists(256)));
  EXPECT_FALSE(readExtensionLine(lists(257)));
  EXPECT_FALSE(readExtensionLine(std::string(1'000'000, '[')));
}

TEST(HostLineCodec, WhatStandsSideBySideDoesNotNest) {
  std::string line = R"({"type":"hello","x":[0)";
  for (int i = 0; i < 300; ++i) line += R"(,[],{},[{"y":[]}])";
  line += "]}";
  EXPECT_TRUE(readHostLine(line).line);
  EXPECT_TRUE(readExtensionLine(line));
}

TEST(HostLineCodec, BytesThatAreNoTextDoNotBreakALine) {
  EXPECT_EQ(passedOn(BeginObserving{"a\xFF"}).url, "a\xEF\xBF\xBD");
}

}  // namespace
}  // namespace kelpie::hostlink
