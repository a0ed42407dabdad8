#include "linux/hostlink/HostSession.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "FakeFinderSync.h"
#include "support/ManualQueues.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

using nlohmann::json;
using Calls = std::vector<std::string>;

// One host: the session, and what was sent to it.
struct Host {
  explicit Host(HostLinkHub& hub)
      : session(std::make_unique<HostSession>(hub, [this](std::string line) {
          EXPECT_TRUE(line.ends_with('\n'));
          EXPECT_EQ(line.find('\n'), line.size() - 1);
          got.push_back(json::parse(line));
        })) {}

  bool say(const json& message) { return session->handleLine(message.dump()); }
  void hello() {
    say({{"type", "hello"}, {"host", "test"}, {"version", 1}});
    got.clear();
  }
  // What was sent since the last call.
  std::vector<json> take() { return std::exchange(got, {}); }
  // The type and id of what was sent since the last call.
  Calls types() {
    Calls types;
    for (const json& message : take()) {
      types.push_back(message["type"].get<std::string>() + " " +
                      message.value("id", json("-")).dump());
    }
    return types;
  }

  std::vector<json> got;
  std::unique_ptr<HostSession> session;
};

class HostSessionTest : public ::testing::Test {
 protected:
  HostSessionTest() {
    for (Host* host : {&a, &b}) host->hello();
    Menu more("More");
    more.items.emplace_back("Ignore", "ignoreItems:");
    MenuItem header("Git Items");
    header.enabled = false;
    header.image = Image{"ApplicationIcon"};
    MenuItem disabled("Disabled", "push:");
    disabled.enabled = false;
    MenuItem moreItem("More");
    moreItem.submenu = std::make_shared<Menu>(more);
    moreItem.enabled = false;
    Menu menu;
    menu.items = {header, MenuItem("Stage", "stage:"), disabled, moreItem};
    extension.menus[0] = menu;
    extension.knownActions = {"stage:", "ignoreItems:"};
  }

  json menuRequest(int id) {
    return {{"type", "menu"}, {"id", id}, {"kind", 0}, {"selected", {"file:///r/a"}}};
  }
  json choice(int id, int menu, const json& path) {
    return {{"type", "choose"}, {"id", id}, {"menu", menu}, {"path", path}};
  }
  void setBadge(const char* identifier, const std::string& path) {
    finder.setBadgeIdentifier(identifier, URL::fileURLWithPath(path));
  }

  EventLog events;
  ManualQueues queues{events};
  LinuxFinderSyncController finder{queues.mainQueue()};
  FakeFinderSync extension{finder};
  HostLinkHub hub{extension, finder, [](const Image& image) { return "/images/" + image.name; },
                  queues};
  Host a{hub};
  Host b{hub};
};

// -- Greeting ----------------------------------------------------------------------------------

TEST_F(HostSessionTest, HelloIsAnsweredWithWelcome) {
  finder.setBadgeImage(Image{"CurrentBadge"}, "", "KPCurrentBadge");
  finder.setDirectoryURLs({URL::fileURLWithPath("/home/u", true)});
  Host host(hub);
  EXPECT_TRUE(host.say({{"type", "hello"}, {"host", "nemo"}, {"version", 1}}));
  const json want = {
      {"type", "welcome"},
      {"version", 1},
      {"toolbar", {{"name", "KElpie"}, {"toolTip", ""}, {"image", "/images/StatusItemIcon"}}},
      {"badges", {{"KPCurrentBadge", {{"image", "/images/CurrentBadge"}, {"label", ""}}}}},
      {"images",
       {{"ApplicationIcon", "/images/ApplicationIcon"},
        {"BranchImage", "/images/BranchImage"},
        {"TagImage", "/images/TagImage"}}},
      {"directories", {"file:///home/u/"}}};
  EXPECT_EQ(host.take(), std::vector<json>{want});
}

TEST_F(HostSessionTest, BeforeHelloEveryLineGivesAnError) {
  Host host(hub);
  for (const json& line :
       {json{{"type", "beginObserving"}, {"url", "file:///r"}}, menuRequest(4), json::array()})
    EXPECT_TRUE(host.say(line));
  EXPECT_EQ(host.types(), (Calls{"error null", "error 4", "error null"}));
  EXPECT_TRUE(extension.calls.empty());
}

TEST_F(HostSessionTest, AnotherVersionGivesAnErrorAndTheEnd) {
  for (const json& version : {json(2), json("1"), json(1.5), json()}) {
    Host host(hub);
    EXPECT_FALSE(host.say({{"type", "hello"}, {"host", "x"}, {"version", version}})) << version;
    EXPECT_EQ(host.types(), Calls{"error null"}) << version;
  }
  Host host(hub);
  EXPECT_FALSE(host.say({{"type", "hello"}, {"host", "x"}})) << "no version at all";
}

TEST_F(HostSessionTest, ASecondHelloGivesAnotherWelcome) {
  a.say({{"type", "hello"}, {"host", "test"}, {"version", 1}});
  EXPECT_EQ(a.types(), Calls{"welcome \"-\""});
  finder.setDirectoryURLs({URL::fileURLWithPath("/x")});
  queues.runAll();
  EXPECT_EQ(a.types().size(), 1U) << "it did not join twice";
}

TEST_F(HostSessionTest, ASessionThatWasNotGreetedIsToldNothing) {
  Host host(hub);
  finder.setDirectoryURLs({URL::fileURLWithPath("/x")});
  queues.runAll();
  EXPECT_TRUE(host.take().empty());
}

// -- Lines -------------------------------------------------------------------------------------

TEST_F(HostSessionTest, ALineThatIsNotUnderstoodGivesAnErrorAndTheConnectionStays) {
  const std::pair<const char*, const char*> cases[] = {
      {"{", "error null"},
      {"[1]", "error null"},
      {"{\"type\":\"dance\"}", "error null"},
      {"{\"type\":\"dance\",\"id\":7}", "error 7"},
      {"{\"type\":7,\"id\":\"x\"}", "error null"},
      {"{\"id\":3}", "error 3"},
      {"{\"type\":\"menu\",\"kind\":0}", "error null"},
      {"{\"type\":\"menu\",\"id\":1}", "error 1"},
      {"{\"type\":\"menu\",\"id\":1,\"kind\":\"0\"}", "error 1"},
      {"{\"type\":\"menu\",\"id\":1,\"kind\":0,\"selected\":{}}", "error 1"},
      {"{\"type\":\"requestBadges\",\"urls\":\"file:///r\"}", "error null"},
      {"{\"type\":\"choose\",\"id\":1,\"menu\":1,\"path\":[-1]}", "error 1"},
      {"{\"type\":\"choose\",\"id\":1,\"menu\":1,\"path\":3}", "error 1"},
      {"{\"type\":\"beginObserving\"}", "error null"},
      {"{\"type\":\"beginObserving\",\"url\":\"http://h/\"}", "error null"},
      {"{\"type\":\"endObserving\",\"url\":5}", "error null"},
      {"{\"type\":\"hello\xFF\"}", "error null"},
  };
  for (const auto& [line, want] : cases) {
    EXPECT_TRUE(a.session->handleLine(line)) << line;
    EXPECT_EQ(a.types(), Calls{want}) << line;
  }
  EXPECT_TRUE(extension.calls.empty());
}

TEST_F(HostSessionTest, AnEmptyLineIsIgnored) {
  EXPECT_TRUE(a.session->handleLine(""));
  EXPECT_TRUE(a.take().empty());
}

TEST_F(HostSessionTest, AnOverlongLineGivesAnError) {
  a.session->handleOverlongLine();
  EXPECT_EQ(a.types(), Calls{"error null"});
}

TEST_F(HostSessionTest, BracketsWithoutEndAreRefused) {
  EXPECT_TRUE(a.session->handleLine("{\"a\":" + std::string(1'000'000, '[')));
  std::string closed = "{\"type\":\"menu\",\"id\":1,\"kind\":0,\"x\":";
  closed += std::string(100'000, '[') + std::string(100'000, ']') + "}";
  EXPECT_TRUE(a.session->handleLine(closed));
  EXPECT_EQ(a.types(), (Calls{"error null", "error null"}));
}

TEST_F(HostSessionTest, UnknownKeysAreIgnored) {
  a.say({{"type", "beginObserving"}, {"url", "file:///r"}, {"colour", {1, 2}}});
  EXPECT_EQ(extension.calls, Calls{"begin file:///r"});
  EXPECT_TRUE(a.take().empty());
}

TEST_F(HostSessionTest, AnElementThatIsNoFileURLIsSkippedAndTheOthersAreServed) {
  a.say({{"type", "requestBadges"},
         {"urls",
          {"file:///r/a", "http://h/x", 5, "file://elsewhere/r", "file:///r/%00", "file:///r/b"}}});
  EXPECT_EQ(extension.calls, (Calls{"badge file:///r/a", "badge file:///r/b"}));
  EXPECT_EQ(a.types(), Calls{"error null"}) << "one for the line";
  extension.calls.clear();
  a.say({{"type", "menu"}, {"id", 9}, {"kind", 0}, {"selected", {"x:y", "file:///r/b"}}});
  EXPECT_EQ(extension.calls, Calls{"menu 0 file:///r/b"});
  EXPECT_EQ(a.types(), (Calls{"error 9", "menu 9"}));
}

// -- Folders -----------------------------------------------------------------------------------

TEST_F(HostSessionTest, TheFirstBeginAndTheLastEndReachTheExtension) {
  const json begin = {{"type", "beginObserving"}, {"url", "file:///r"}};
  const json end = {{"type", "endObserving"}, {"url", "file:///r/"}};
  a.say(begin);
  a.say(begin);
  b.say(begin);
  EXPECT_EQ(extension.calls, Calls{"begin file:///r"});
  a.say(end);
  b.say(end);
  EXPECT_EQ(extension.calls.size(), 1U) << "one window of the first host still shows it";
  a.say(end);
  EXPECT_EQ(extension.calls, (Calls{"begin file:///r", "end file:///r/"}));
  a.say(end);
  EXPECT_EQ(extension.calls.size(), 2U) << "nobody shows it";
}

TEST_F(HostSessionTest, AFolderThatIsMadeAgainIsBegunAgain) {
  const TemporaryFolder home;
  const std::string folder = home.addFolder("f");
  const std::string begin = "begin " + URL::fileURLWithPath(folder).absoluteString();
  const json show = {{"type", "beginObserving"},
                     {"url", URL::fileURLWithPath(folder).absoluteString()}};
  a.say(show);
  queues.runAll();
  // While both are there, they cannot be taken for one another.
  const std::string other = home.addFolder("g");
  std::filesystem::remove(folder);
  std::filesystem::rename(other, folder);
  b.say(show);
  queues.runAll();
  EXPECT_EQ(extension.calls, (Calls{begin, begin})) << "the first host shows one that is gone";
  Host c(hub);
  c.hello();
  c.say(show);
  queues.runAll();
  EXPECT_EQ(extension.calls.size(), 2U) << "it is the same folder";
  std::filesystem::remove(folder);
  c.session.reset();
  Host d(hub);
  d.hello();
  d.say(show);
  for (Host* host : {&a, &b, &d}) host->session.reset();
  extension.calls.clear();
  queues.runAll();
  EXPECT_EQ(extension.calls, Calls()) << "nobody shows it any more";
}

TEST_F(HostSessionTest, AHostCannotEndWhatAnotherShows) {
  a.say({{"type", "beginObserving"}, {"url", "file:///r"}});
  b.say({{"type", "endObserving"}, {"url", "file:///r"}});
  EXPECT_EQ(extension.calls, Calls{"begin file:///r"});
}

TEST_F(HostSessionTest, AHostThatDisconnectsLeavesAllItsFolders) {
  for (const char* url : {"file:///r", "file:///s", "file:///r"})
    a.say({{"type", "beginObserving"}, {"url", url}});
  b.say({{"type", "beginObserving"}, {"url", "file:///s"}});
  extension.calls.clear();
  a.session.reset();
  EXPECT_EQ(extension.calls, Calls{"end file:///r"});
  b.session.reset();
  EXPECT_EQ(extension.calls, (Calls{"end file:///r", "end file:///s"}));
}

TEST_F(HostSessionTest, ChangedFoldersAreTold) {
  finder.setDirectoryURLs({URL::fileURLWithPath("/x")});
  queues.runAll();
  EXPECT_EQ(a.take(), (std::vector<json>{{{"type", "directories"}, {"urls", {"file:///x"}}}}));
  EXPECT_EQ(b.types().size(), 1U);
}

// -- Badges ------------------------------------------------------------------------------------

TEST_F(HostSessionTest, BadgesGoToWhoAskedOrShowsTheFolder) {
  a.say({{"type", "requestBadges"}, {"urls", {"file:///r/%61"}}});
  b.say({{"type", "beginObserving"}, {"url", "file:///r"}});
  setBadge("KPCurrentBadge", "/r/a");
  setBadge("KPIgnoredBadge", "/r/b c");
  setBadge("KPCurrentBadge", "/r/sub/x");
  queues.runAll();
  const auto badges = [](const json& list) -> json {
    return {{"type", "badges"}, {"badges", list}};
  };
  const auto badge = [](const char* url, const char* id) { return json::array({url, id}); };
  EXPECT_EQ(a.take(), std::vector{badges(json::array({badge("file:///r/%61", "KPCurrentBadge")}))})
      << "spelled as this host spelled it";
  EXPECT_EQ(b.take(),
            std::vector{badges(json::array({badge("file:///r/a", "KPCurrentBadge"),
                                            badge("file:///r/b%20c", "KPIgnoredBadge")}))});
}

TEST_F(HostSessionTest, OfBadgesThatAreSetAgainOnlyThoseThatDifferAreSent) {
  a.say({{"type", "requestBadges"}, {"urls", {"file:///r/a", "file:///r/b"}}});
  for (const char* badge : {"KPCurrentBadge", "KPIgnoredBadge"}) {
    setBadge("KPCurrentBadge", "/r/a");
    setBadge(badge, "/r/b");
    queues.runAll();
  }
  const std::vector<json> lines = a.take();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0]["badges"].size(), 2U);
  EXPECT_EQ(lines[1]["badges"], json::array({json::array({"file:///r/b", "KPIgnoredBadge"})}));
  // Who asks is answered.
  a.say({{"type", "requestBadges"}, {"urls", {"file:///r/a"}}});
  setBadge("KPCurrentBadge", "/r/a");
  queues.runAll();
  EXPECT_EQ(a.take().size(), 1U);
}

TEST_F(HostSessionTest, WhoNeitherAskedNorShowsTheFolderIsToldNothing) {
  setBadge("KPCurrentBadge", "/r/a");
  queues.runAll();
  EXPECT_TRUE(a.take().empty());
}

TEST_F(HostSessionTest, AFolderThatLeftTheViewIsForgotten) {
  a.say({{"type", "beginObserving"}, {"url", "file:///r"}});
  a.say({{"type", "requestBadges"}, {"urls", {"file:///r/a"}}});
  a.say({{"type", "endObserving"}, {"url", "file:///r"}});
  setBadge("KPCurrentBadge", "/r/a");
  queues.runAll();
  EXPECT_TRUE(a.take().empty());
}

TEST_F(HostSessionTest, ManyBadgesAreSentInOrderInLinesOfBoundedLength) {
  a.say({{"type", "beginObserving"}, {"url", "file:///r"}});
  for (int i = 0; i < 2500; ++i) setBadge("KPCurrentBadge", "/r/" + std::to_string(i));
  queues.runAll();
  int next = 0;
  const std::vector<json> lines = a.take();
  EXPECT_EQ(lines.size(), 25U);
  for (const json& line : lines)
    for (const json& badge : line["badges"])
      EXPECT_EQ(badge[0], "file:///r/" + std::to_string(next++));
  EXPECT_EQ(next, 2500);
}

TEST_F(HostSessionTest, APathThatIsNotUtf8KeepsItsBytes) {
  a.say({{"type", "requestBadges"}, {"urls", {"file:///r/%FF"}}});
  setBadge("KPCurrentBadge", "/r/\xFF");
  queues.runAll();
  EXPECT_EQ(a.take().at(0)["badges"][0][0], "file:///r/%FF");
}

// -- Menus -------------------------------------------------------------------------------------

TEST_F(HostSessionTest, AMenuIsAskedForTheSelectionAndSentWhole) {
  a.say({{"type", "menu"},
         {"id", 5},
         {"kind", 0},
         {"selected", {"file:///r/a"}},
         {"targeted", "file:///r"}});
  EXPECT_EQ(extension.calls, Calls{"menu 0 file:///r/a on file:///r"});
  const auto item = [](const char* title, const json& action, bool enabled, const json& image,
                       const json& submenu) -> json {
    return {{"title", title},     {"action", action}, {"tag", 0},          {"state", 0},
            {"enabled", enabled}, {"image", image},   {"submenu", submenu}};
  };
  const json more = {{"title", "More"},
                     {"items", {item("Ignore", "ignoreItems:", true, nullptr, nullptr)}}};
  const json want = {{"type", "menu"},
                     {"id", 5},
                     {"menu",
                      {{"title", ""},
                       {"items",
                        {item("Git Items", nullptr, false, "ApplicationIcon", nullptr),
                         item("Stage", "stage:", true, nullptr, nullptr),
                         item("Disabled", "push:", false, nullptr, nullptr),
                         item("More", nullptr, false, nullptr, more)}}}}};
  EXPECT_EQ(a.take(), std::vector<json>{want});
  EXPECT_TRUE(finder.selectedItemURLs().empty()) << "the selection is the request's alone";
}

TEST_F(HostSessionTest, SelectedMayBeMissingAndTargetedNull) {
  a.say({{"type", "menu"}, {"id", 1}, {"kind", 3}, {"targeted", nullptr}});
  EXPECT_EQ(extension.calls, Calls{"menu 3"});
  EXPECT_EQ(a.take(), (std::vector<json>{{{"type", "menu"}, {"id", 1}, {"menu", nullptr}}}));
}

TEST_F(HostSessionTest, AKindThatIsNoneIsAnsweredWithNull) {
  for (const json& kind : {json(4), json(-1), json(UINT64_MAX), json(INT64_MIN)}) {
    a.say({{"type", "menu"}, {"id", 1}, {"kind", kind}});
    EXPECT_EQ(a.take(), (std::vector<json>{{{"type", "menu"}, {"id", 1}, {"menu", nullptr}}}))
        << kind;
  }
  EXPECT_TRUE(extension.calls.empty());
}

TEST_F(HostSessionTest, AChosenItemIsPerformedAndDone) {
  a.say(menuRequest(5));
  a.take();
  extension.calls.clear();
  a.say(choice(6, 5, {1}));
  a.say(choice(7, 5, {3, 0}));
  EXPECT_EQ(a.types(), (Calls{"done 6", "done 7"}))
      << "an item's own flag counts, not that of the item that holds its menu";
  EXPECT_EQ(extension.calls, (Calls{"perform stage: Stage", "perform ignoreItems: Ignore"}));
}

TEST_F(HostSessionTest, AWrongChoiceGivesAnErrorAndRunsNothing) {
  a.say(menuRequest(5));
  a.take();
  extension.calls.clear();
  const std::pair<const char*, json> cases[] = {
      {"an item without an action", {0}},    {"a disabled item", {2}},
      {"an item with a submenu alone", {3}}, {"an index beyond the end", {4}},
      {"an index beyond a submenu", {3, 1}}, {"into an item without a submenu", {1, 0}},
      {"no index at all", json::array()},    {"a huge index", {UINT64_MAX}},
  };
  for (const auto& [why, path] : cases) {
    a.say(choice(6, 5, path));
    EXPECT_EQ(a.types(), Calls{"error 6"}) << why;
  }
  a.say(choice(6, 4, {1}));
  EXPECT_EQ(a.types(), Calls{"error 6"}) << "another menu";
  EXPECT_TRUE(extension.calls.empty());
}

TEST_F(HostSessionTest, TheNewestMenuIsThatOfAllHosts) {
  a.say(menuRequest(5));
  b.say(menuRequest(5));
  a.take();
  b.take();
  a.say(choice(6, 5, {1}));
  EXPECT_EQ(a.types(), Calls{"error 6"}) << "the other host asked later";
  b.say(choice(7, 5, {1}));
  EXPECT_EQ(b.types(), Calls{"done 7"});
}

TEST_F(HostSessionTest, ARequestAnsweredWithNullLeavesTheFormerMenuValid) {
  a.say(menuRequest(5));
  b.say({{"type", "menu"}, {"id", 9}, {"kind", 2}});
  a.take();
  a.say(choice(6, 5, {1}));
  EXPECT_EQ(a.types(), Calls{"done 6"});
}

TEST_F(HostSessionTest, TheMenuOfAHostThatLeftIsNotAnothers) {
  a.say(menuRequest(5));
  a.session.reset();
  b.take();
  b.say(choice(6, 5, {1}));
  EXPECT_EQ(b.types(), Calls{"error 6"});
}

TEST_F(HostSessionTest, AnArgumentErrorIsAnsweredWithError) {
  a.say(menuRequest(5));
  a.take();
  extension.raises = true;
  EXPECT_TRUE(a.say(choice(6, 5, {1})));
  EXPECT_TRUE(a.say(menuRequest(7)));
  EXPECT_EQ(a.types(), (Calls{"error 6", "error 7"}));
}

TEST_F(HostSessionTest, AnActionThatIsNotKnownGivesAnError) {
  extension.knownActions.clear();
  a.say(menuRequest(5));
  a.take();
  a.say(choice(6, 5, {1}));
  EXPECT_EQ(a.types(), Calls{"error 6"});
}

TEST_F(HostSessionTest, ATitleThatIsNotUtf8StillGivesALine) {
  extension.menus[1].items.emplace_back("bad \xFF", "stage:");
  a.say({{"type", "menu"}, {"id", 1}, {"kind", 1}});
  EXPECT_EQ(a.take().at(0)["menu"]["items"][0]["title"], "bad \xEF\xBF\xBD");
}

}  // namespace
}  // namespace kelpie
