#include "linux/hostclient/HostClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "protocol/hostlink/HostLineCodec.h"

namespace kelpie {
namespace {

using namespace std::chrono_literals;
using hostlink::Item;
using Texts = std::vector<std::string>;

// A client whose time and whose other end the test has in hand.
class HostClientTest : public testing::Test {
 protected:
  // Connects and returns the greeting; what the client says to that is in said().
  void meet(const Texts& directories = {"file:///r/"}) {
    client.connecting();
    client.connected(now);
    said();
    hostlink::Welcome welcome;
    welcome.directories = directories;
    answer(welcome);
  }
  void answer(const hostlink::ExtensionLine& line) { client.received(hostlink::lineOf(line), now); }

  // What the client has said since the last call, a short text a line.
  Texts said() {
    Texts texts;
    const std::string output = client.takeOutput();
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = output.find('\n', begin)) != std::string::npos;
         begin = end + 1)
      texts.push_back(std::visit([&](const auto& line) { return textOf(line); },
                                 *hostlink::readHostLine(output.substr(begin, end - begin)).line));
    return texts;
  }
  static std::string textOf(const hostlink::Hello& line) { return "hello " + line.host; }
  static std::string textOf(const hostlink::BeginObserving& line) { return "begin " + line.url; }
  static std::string textOf(const hostlink::EndObserving& line) { return "end " + line.url; }
  static std::string textOf(const hostlink::RequestBadges& line) {
    std::string text = "badges";
    for (const std::string& url : line.urls) text += " " + url;
    return text;
  }
  std::string textOf(const hostlink::MenuRequest& line) {
    menu = line.id.get<std::int64_t>();
    std::string text = "menu " + std::to_string(line.kind);
    for (const std::string& url : line.selected) text += " " + url;
    return text + " on " + line.targeted.value_or("nothing");
  }
  std::string textOf(const hostlink::Choose& line) {
    choice = line.id.get<std::int64_t>();
    std::string text = line.menu == menu ? "choose" : "choose of another menu";
    for (const std::size_t index : line.path) text += " " + std::to_string(index);
    return line.choice.empty() ? text : text + " as " + line.choice;
  }

  static Item item(std::string title, std::string action) {
    Item item;
    item.title = std::move(title);
    item.action = std::move(action);
    item.isEnabled = true;
    return item;
  }
  static Item submenu(std::string title, std::vector<Item> items) {
    Item item;
    item.title = std::move(title);
    item.hasSubmenu = true;
    item.submenu = std::move(items);
    return item;
  }

  HostClient::Time now{1h};
  int welcomes = 0;
  int directoryChanges = 0;
  Texts changed;            // paths whose badges did
  std::int64_t menu = 0;    // the number of the last question for one
  std::int64_t choice = 0;  // and of the last choice
  HostClient client{
      "test",
      {[this] { ++welcomes; }, [this] { ++directoryChanges; },
       [this](const Texts& paths) { changed.insert(changed.end(), paths.begin(), paths.end()); }}};
};

// -- The connection -------------------------------------------------------------------------------

TEST_F(HostClientTest, GreetsAndIsReadyWhenTheExtensionHasAnswered) {
  EXPECT_TRUE(client.wantsConnection(now));
  client.connecting();
  EXPECT_FALSE(client.wantsConnection(now));
  client.connected(now);
  EXPECT_EQ(said(), Texts{"hello test"});
  EXPECT_FALSE(client.isReady());
  hostlink::Welcome welcome;
  welcome.directories = {"file:///a%20b/", "http://x/", "nonsense"};
  answer(welcome);
  EXPECT_TRUE(client.isReady());
  EXPECT_EQ(welcomes, 1);
  EXPECT_EQ(client.directories(), Texts{"/a b"});
  EXPECT_TRUE(client.isObserved("/a b/c"));
  EXPECT_FALSE(client.isObserved("/a bc"));
}

TEST_F(HostClientTest, EndsThePauseWhenTheExtensionIsSaidToBeThere) {
  client.connecting();
  client.connectionFailed(now);
  client.connecting();
  client.connectionFailed(now);
  client.attemptNow(now);
  EXPECT_TRUE(client.wantsConnection(now));
  client.connecting();
  client.connectionFailed(now);
  EXPECT_TRUE(client.wantsConnection(now + HostClient::kFirstPause)) << "the pauses begin anew";
}

TEST_F(HostClientTest, IsNotToldToConnectWhileItIsConnected) {
  meet();
  client.attemptNow(now);
  EXPECT_TRUE(client.isReady());
  EXPECT_FALSE(client.wantsConnection(now));
}

TEST_F(HostClientTest, AsksForNoMoreBadgesAtATimeThanItsOwnerWrites) {
  meet();
  for (const char* name : {"/r/a", "/r/b", "/r/c"}) client.want(name, false);
  const auto questions = [this] {
    const std::string output = client.takeOutput(2);
    return output.empty() ? ""
                          : textOf(std::get<hostlink::RequestBadges>(
                                *hostlink::readHostLine(output.substr(0, output.size() - 1)).line));
  };
  EXPECT_EQ(questions(), "badges file:///r/a file:///r/b");
  EXPECT_EQ(questions(), "badges file:///r/c");
  EXPECT_EQ(questions(), "");
}

TEST_F(HostClientTest, WaitsLongerAfterEachAttemptThatFails) {
  std::vector<std::chrono::seconds> pauses;
  for (int i = 0; i < 8; ++i) {
    client.connecting();
    client.connectionFailed(now);
    EXPECT_FALSE(client.wantsConnection(now));
    const auto next = client.wakeAt().value();
    EXPECT_FALSE(client.wantsConnection(next - 1ms));
    EXPECT_TRUE(client.wantsConnection(next));
    pauses.push_back(std::chrono::duration_cast<std::chrono::seconds>(next - now));
    now = next;
  }
  EXPECT_EQ(pauses, (std::vector<std::chrono::seconds>{1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s}));
  meet();
  client.ended(now);
  EXPECT_EQ(client.wakeAt(), now + 1s) << "a conversation begins the pauses anew";
}

TEST_F(HostClientTest, AnExtensionThatRefusesOrIsSilentIsLeft) {
  const auto outcome = [&](const auto& event) {
    client.connecting();
    client.connected(now);
    event();
    EXPECT_TRUE(client.shouldClose());
    const std::string problem = client.problem();
    client.ended(now);
    EXPECT_FALSE(client.shouldClose());
    return problem;
  };
  EXPECT_EQ(outcome([&] { answer(hostlink::Error{nullptr, "no"}); }), "the extension refuses: no");
  hostlink::Welcome other;
  other.version = 2;
  EXPECT_EQ(outcome([&] { answer(other); }),
            "the extension speaks another version of the protocol");
  EXPECT_EQ(outcome([&] {
              EXPECT_EQ(client.wakeAt(), now + HostClient::kAnswerLimit);
              now = *client.wakeAt();
              client.tick(now);
            }),
            "the extension does not answer");
  EXPECT_FALSE(client.wantsConnection(now + 3s)) << "three attempts have failed";
}

TEST_F(HostClientTest, WhatIsNoMessageIsDroppedAndCounted) {
  meet();
  client.received("nonsense\n[]\n\n" + std::string(1000, '[') + "\n{\"type\":\"news\"}\n", now);
  EXPECT_EQ(client.droppedLines(), 3U);
  const std::string piece(std::size_t{1} << 20U, 'x');
  for (std::size_t sent = 0; sent <= hostlink::kMaximumLineLength; sent += piece.size())
    client.received(piece, now);
  EXPECT_EQ(client.droppedLines(), 4U);
  const std::string line = "\n" + hostlink::lineOf(hostlink::Directories{});
  for (const char byte : line) client.received({&byte, 1}, now);
  EXPECT_EQ(directoryChanges, 1) << "what comes after it is heard, however it is cut";
}

// -- Folders and badges ---------------------------------------------------------------------------

TEST_F(HostClientTest, OnlyTheFirstAndTheLastWindowOfAFolderAreTold) {
  meet();
  client.showFolder("/r/a");
  client.showFolder("/r/a");
  client.hideFolder("/r/a");
  EXPECT_EQ(said(), Texts{"begin file:///r/a/"});
  client.hideFolder("/r/a");
  client.hideFolder("/r/a");
  EXPECT_EQ(said(), Texts{"end file:///r/a/"});
}

TEST_F(HostClientTest, NothingOutsideTheObservedFoldersIsAskedFor) {
  meet();
  client.showFolder("/other");
  client.want("/other/f", false);
  client.hideFolder("/other");
  EXPECT_EQ(said(), Texts{});
}

TEST_F(HostClientTest, ABadgeIsAskedForOnceAndKept) {
  meet();
  client.showFolder("/r");
  client.want("/r/f", false);
  client.want("/r/d", true);
  client.want("/r/f", false);
  EXPECT_EQ(said(), (Texts{"begin file:///r/", "badges file:///r/f file:///r/d/"}));
  EXPECT_EQ(client.badge("/r/f"), std::nullopt);
  answer(hostlink::Badges{{{"file:///r/f", "X"}, {"file:///r/stranger", "X"}, {"nonsense", "X"}}});
  EXPECT_EQ(client.badge("/r/f"), "X");
  EXPECT_EQ(client.badge("/r/stranger"), std::nullopt);
  answer(hostlink::Badges{{{"file:///r/f", "X"}}});
  EXPECT_EQ(changed, Texts{"/r/f"}) << "the same badge again is no news";
  client.want("/r/f", false);
  EXPECT_EQ(said(), Texts{});
  client.askAgain("/r/f");
  EXPECT_EQ(said(), Texts{"badges file:///r/f"});
  EXPECT_EQ(client.badge("/r/f"), "X");
}

TEST_F(HostClientTest, AFolderThatIsHiddenTakesItsBadgesWithIt) {
  meet();
  client.showFolder("/r");
  client.want("/r/f", false);
  answer(hostlink::Badges{{{"file:///r/f", "X"}}});
  client.hideFolder("/r");
  EXPECT_EQ(client.badge("/r/f"), std::nullopt);
  said();
  client.want("/r/f", false);
  EXPECT_EQ(said(), Texts{"badges file:///r/f"});
}

TEST_F(HostClientTest, WithTheConnectionEndTheBadgesAndANewOneAsksForAllAgain) {
  client.showFolder("/r");
  client.want("/r/f", false);
  EXPECT_EQ(said(), Texts{}) << "nobody is there";
  meet();
  EXPECT_EQ(said(), (Texts{"begin file:///r/", "badges file:///r/f"}));
  answer(hostlink::Badges{{{"file:///r/f", "X"}}});
  changed.clear();
  client.ended(now);
  EXPECT_EQ(client.badge("/r/f"), std::nullopt) << "it may be another by now";
  EXPECT_EQ(changed, Texts{"/r/f"});
  meet();
  EXPECT_EQ(said(), (Texts{"begin file:///r/", "badges file:///r/f"}));
}

TEST_F(HostClientTest, FoldersThatComeToBeObservedAreToldOfAndThoseThatCeaseAreLeft) {
  meet();
  client.showFolder("/r");
  client.showFolder("/s");
  client.want("/r/f", false);
  client.want("/s/f", false);
  said();
  answer(hostlink::Badges{{{"file:///r/f", "X"}}});
  answer(hostlink::Directories{{"file:///s/"}});
  Texts told = said();
  std::sort(told.begin(), told.end());
  EXPECT_EQ(told, (Texts{"badges file:///s/f", "begin file:///s/", "end file:///r/"}));
  EXPECT_EQ(client.badge("/r/f"), std::nullopt);
  EXPECT_EQ(directoryChanges, 1);
}

TEST_F(HostClientTest, ManyQuestionsAreCutIntoLines) {
  meet();
  const std::string name(200, 'x');
  for (int i = 0; i < 12'000; ++i) client.want("/r/" + name + std::to_string(i), false);
  EXPECT_EQ(said().size(), 3U) << "of a megabyte each";
}

TEST_F(HostClientTest, BytesOfAPathThatAreNoTextComeBack) {
  meet();
  const std::string path = "/r/a\xFF b%";
  client.want(path, false);
  EXPECT_EQ(said(), Texts{"badges file:///r/a%FF%20b%25"});
  answer(hostlink::Badges{{{"file:///r/a%FF%20b%25", "X"}}});
  EXPECT_EQ(client.badge(path), "X");
}

// -- Menus ----------------------------------------------------------------------------------------

TEST_F(HostClientTest, AMenuIsAskedForAndChosenFrom) {
  meet();
  HostClient::MenuReply reply;
  client.askMenu(
      {0, {{"/r/f", false}, {"/r/d", true}}, "/r"},
      [&](const HostClient::MenuReply& got) { reply = got; }, now);
  EXPECT_EQ(said(), Texts{"menu 0 file:///r/f file:///r/d/ on file:///r/"});
  answer(hostlink::MenuAnswer{menu, true, "", {item("Stage", "stage:")}});
  EXPECT_EQ(reply.problem, "");
  EXPECT_TRUE(reply.isThere);
  ASSERT_EQ(reply.items.size(), 1U);
  Texts outcomes;
  const auto note = [&](const std::string& problem) { outcomes.push_back(problem); };
  client.choose(reply.id, {0}, "c", note, now);
  EXPECT_EQ(said(), Texts{"choose 0 as c"});
  answer(hostlink::Done{choice});
  answer(hostlink::Done{choice});
  client.choose(reply.id, {1}, {}, note, now);
  said();
  answer(hostlink::Error{choice, "no"});
  EXPECT_EQ(outcomes, (Texts{"", "the extension refuses: no"})) << "each once";
}

TEST_F(HostClientTest, EveryQuestionIsAnsweredOnceWhateverHappens) {
  Texts problems;
  const auto note = [&](const HostClient::MenuReply& reply) { problems.push_back(reply.problem); };
  client.askMenu({}, note, now);
  EXPECT_EQ(problems, Texts{"the extension is not there"});
  meet();
  client.askMenu({}, note, now);
  EXPECT_EQ(client.wakeAt(), now + HostClient::kAnswerLimit);
  client.tick(now + HostClient::kAnswerLimit - 1ms);
  EXPECT_EQ(problems.size(), 1U);
  client.tick(now + HostClient::kAnswerLimit);
  EXPECT_EQ(problems.back(), "the extension does not answer");
  said();
  answer(hostlink::MenuAnswer{menu, true, "", {}});
  client.askMenu({}, note, now);
  client.ended(now);
  EXPECT_EQ(problems.size(), 3U);
  EXPECT_EQ(problems.back(), "the extension is not there");
}

TEST_F(HostClientTest, AnItemSeenEarlierIsChosenByItsTitlesInAMenuAskedForAnew) {
  meet();
  Texts outcomes;
  const auto choose = [&](std::vector<HostClient::Step> steps, const char* action) {
    client.chooseByTitles(
        {0, {{"/r/f", false}}, std::nullopt}, std::move(steps), action,
        [&](const std::string& problem) { outcomes.push_back(problem); }, now);
    EXPECT_EQ(said(), Texts{"menu 0 file:///r/f on nothing"});
    Item disabled = item("Pull", "pull:");
    disabled.isEnabled = false;
    answer(hostlink::MenuAnswer{menu,
                                true,
                                "",
                                {item("New", "new:"), submenu("More", {}),
                                 submenu("More", {item("Stage", "stage:")}), disabled}});
    return said();
  };
  EXPECT_EQ(choose({{"More", 1}, {"Stage"}}, "stage:"), Texts{"choose 2 0"});
  answer(hostlink::Done{choice});
  EXPECT_EQ(outcomes, Texts{""});
  EXPECT_EQ(choose({{"More", 0}, {"Stage"}}, "stage:"), Texts{}) << "it stands in the other one";
  EXPECT_EQ(choose({{"New"}}, "old:"), Texts{}) << "the title means something else by now";
  EXPECT_EQ(choose({}, "new:"), Texts{});
  EXPECT_EQ(outcomes.back(), "the menu has changed: the item is not there any more");
  EXPECT_EQ(choose({{"Pull"}}, "pull:"), Texts{});
  EXPECT_EQ(outcomes.back(), "the item is disabled at the moment");
  EXPECT_EQ(outcomes.size(), 5U);
}

}  // namespace
}  // namespace kelpie
