#include "common/FileManagerSession.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "filemanagers/FakeExtension.h"
#include "protocol/BadgeIdentifiers.h"

namespace kelpie::filemanagers {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

class FileManagerSessionTest : public testing::Test {
 protected:
  void SetUp() override { meet(); }

  void meet() {
    session->client().connecting();
    session->client().connected(now);
    hostlink::Welcome welcome;
    welcome.directories = {"file:///repo/"};
    welcome.badges["KPConflictedBadge"] = {"/images/c.svg", "Conflicted"};
    answer(welcome);
    said();
  }
  void answer(const hostlink::ExtensionLine& line) {
    session->received(hostlink::lineOf(line), now);
  }
  void setBadge(const std::string& url, std::string_view badge) {
    answer(hostlink::Badges{{{url, std::string(badge)}}});
  }
  std::vector<hostlink::HostLine> said() { return linesOf(session->client().takeOutput()); }
  Texts asked() {
    Texts urls;
    for (const auto& line : only<hostlink::RequestBadges>(said()))
      urls.insert(urls.end(), line.urls.begin(), line.urls.end());
    return urls;
  }
  hostlink::MenuRequest menuRequest() {
    const auto requests = only<hostlink::MenuRequest>(said());
    EXPECT_EQ(requests.size(), 1U);
    return requests.empty() ? hostlink::MenuRequest() : requests.back();
  }
  HostClient::MenuQuestion questionFor(const std::string& path) {
    return session->question(0, {{path, false}}, "/repo").value();
  }

  HostClient::Time now{1h};
  std::array<char, 4> objects{};
  FileManagerSession::Token a = &objects[0];
  FileManagerSession::Token b = &objects[1];
  int itemChanges = 0;
  int menuChanges = 0;
  int folderChanges = 0;
  Texts refused;
  std::unique_ptr<FileManagerSession> session = std::make_unique<FileManagerSession>(
      "test",
      FileManagerSession::Handlers{[this] { ++itemChanges; }, [this] { ++menuChanges; },
                                   [this] { ++folderChanges; }, [] {},
                                   [this](const std::string& title, const std::string& problem) {
                                     refused.push_back(title + ": " + problem);
                                   }},
      [](const std::string& folder) -> std::optional<std::string> {
        return folder == "/link" ? "/repo" : folder;
      });
};

// -- Items ----------------------------------------------------------------------------------------

TEST_F(FileManagerSessionTest, AnItemIsBareUntilItsBadgeComesAndIsThenShownAgain) {
  EXPECT_EQ(session->show(a, "/repo/f", false).emblem, "");
  EXPECT_EQ(asked(), Texts{"file:///repo/f"});
  setBadge("file:///repo/f", badge::kConflicted);
  EXPECT_EQ(itemChanges, 1);
  EXPECT_EQ(session->takeChanged(), a);
  const auto look = session->show(a, "/repo/f", false);
  EXPECT_EQ(look.emblem, "kelpie-conflicted");
  EXPECT_EQ(look.label, "Conflicted");
  EXPECT_EQ(asked(), Texts{}) << "it is asked for once";
  EXPECT_EQ(session->takeChanged(), nullptr);
}

TEST_F(FileManagerSessionTest, TheFirstEmblemOfAnItemIsAddedAndAnotherIsAskedForAnew) {
  session->show(a, "/repo/f", false);
  setBadge("file:///repo/f", badge::kConflicted);
  auto change = session->takeChange();
  ASSERT_TRUE(change);
  EXPECT_EQ(change->token, a);
  EXPECT_TRUE(change->isAddition);
  EXPECT_EQ(change->look.emblem, "kelpie-conflicted");
  EXPECT_EQ(change->look.label, "Conflicted");
  // The file manager asks for reasons of its own.
  session->show(a, "/repo/f", false);
  setBadge("file:///repo/f", badge::kConflicted);
  EXPECT_FALSE(session->takeChange()) << "it looks as before";
  setBadge("file:///repo/f", badge::kIgnored);
  change = session->takeChange();
  ASSERT_TRUE(change);
  EXPECT_FALSE(change->isAddition);
  EXPECT_EQ(session->show(a, "/repo/f", false).emblem, "kelpie-ignored");
  EXPECT_FALSE(session->takeChange());
}

// It may have been about to ask when it got the first one, and then draws both.
TEST_F(FileManagerSessionTest, TwoEmblemsInOneQuestionAreClearedByAnother) {
  session->show(a, "/repo/f", false);
  setBadge("file:///repo/f", badge::kConflicted);
  EXPECT_TRUE(session->takeChange());
  setBadge("file:///repo/f", badge::kIgnored);
  itemChanges = 0;
  session->show(a, "/repo/f", false);
  EXPECT_EQ(itemChanges, 1);
  const auto change = session->takeChange();
  ASSERT_TRUE(change);
  EXPECT_FALSE(change->isAddition);
  session->show(a, "/repo/f", false);
  EXPECT_FALSE(session->takeChange());
}

TEST_F(FileManagerSessionTest, WhereMoreIsShownEveryItemIsAskedForAnew) {
  session->show(a, "/repo/f", false);
  session->show(b, "/repo/g", false);
  session->showAllAgain();
  EXPECT_EQ(itemChanges, 1);
  for (int i = 0; i < 2; ++i) {
    const auto change = session->takeChange();
    ASSERT_TRUE(change);
    EXPECT_FALSE(change->isAddition);
    session->show(change->token, change->token == a ? "/repo/f" : "/repo/g", false);
  }
  EXPECT_FALSE(session->takeChange());
}

TEST_F(FileManagerSessionTest, AnItemBehindASymbolicLinkIsAskedForAtItsPlace) {
  session->show(a, "/link/f", false);
  session->show(b, "/repo/f", false);
  EXPECT_EQ(asked(), Texts{"file:///repo/f"});
  setBadge("file:///repo/f", badge::kConflicted);
  EXPECT_NE(session->takeChanged(), nullptr);
  EXPECT_NE(session->takeChanged(), nullptr);
  EXPECT_EQ(session->look("/link/f").emblem, "kelpie-conflicted");
}

TEST_F(FileManagerSessionTest, NothingIsAskedOutsideTheObservedFolders) {
  session->show(a, "/home/f", false);
  session->enter("/home");
  EXPECT_TRUE(said().empty());
  EXPECT_FALSE(session->question(0, {{"/home/f", false}}, "/home"));
  EXPECT_FALSE(session->question(0, {{"/repo/f", false}, {"/home/f", false}}, std::nullopt));
}

TEST_F(FileManagerSessionTest, APackageNamedFolderIsAFolder) {
  session->show(a, "/repo/x.app", true);
  EXPECT_EQ(asked(), Texts{"file:///repo/x.app/"});
}

TEST_F(FileManagerSessionTest, ANameThatIsNotUTF8IsAskedForByteByByte) {
  session->show(a, "/repo/\xff", false);
  EXPECT_EQ(asked(), Texts{"file:///repo/%FF"});
  setBadge("file:///repo/%FF", badge::kConflicted);
  EXPECT_EQ(session->show(a, "/repo/\xff", false).emblem, "kelpie-conflicted");
}

TEST_F(FileManagerSessionTest, WithoutTheExtensionNoEmblemStays) {
  session->show(a, "/repo/f", false);
  said();
  setBadge("file:///repo/f", badge::kConflicted);
  EXPECT_EQ(session->takeChanged(), a);
  session->show(a, "/repo/f", false);
  session->ended(now);
  EXPECT_EQ(session->takeChanged(), a);
  EXPECT_EQ(session->show(a, "/repo/f", false).emblem, "");
  // When it is back it is asked again.
  session->client().connecting();
  session->client().connected(now);
  hostlink::Welcome welcome;
  welcome.directories = {"file:///repo/"};
  answer(welcome);
  EXPECT_EQ(asked(), Texts{"file:///repo/f"});
}

TEST_F(FileManagerSessionTest, WhatWasShownBeforeTheExtensionCameIsAskedForThen) {
  session->ended(now);
  session->enter("/repo");
  session->show(a, "/repo/f", false);
  EXPECT_TRUE(said().empty());
  session->client().connecting();
  session->client().connected(now);
  hostlink::Welcome welcome;
  welcome.directories = {"file:///repo/"};
  answer(welcome);
  const auto lines = said();
  EXPECT_EQ(only<hostlink::BeginObserving>(lines).size(), 1U);
  const auto questions = only<hostlink::RequestBadges>(lines);
  ASSERT_EQ(questions.size(), 1U);
  EXPECT_EQ(questions[0].urls, Texts{"file:///repo/f"});
  setBadge("file:///repo/f", badge::kConflicted);
  ASSERT_TRUE(session->takeChange());
}

TEST_F(FileManagerSessionTest, GarbageChangesNothing) {
  session->show(a, "/repo/f", false);
  said();
  session->received("{\"type\":\"badges\",\"badges\":[[\"file:///repo/f\"],7,null]}\n\xff\xfe\n{",
                    now);
  session->received("\"type\n", now);
  setBadge("file:///repo/other", badge::kConflicted);
  setBadge("http://repo/f", badge::kConflicted);
  EXPECT_EQ(session->show(a, "/repo/f", false).emblem, "");
  setBadge("file:///repo/f", badge::kConflicted);
  EXPECT_EQ(session->show(a, "/repo/f", false).emblem, "kelpie-conflicted");
}

// -- Folders --------------------------------------------------------------------------------------

TEST_F(FileManagerSessionTest, AFolderIsInViewAtItsPlaceUntilTheLastWindowLeavesIt) {
  session->enter("/link");
  session->enter("/link");
  session->enter("/repo");
  session->leave("/link");
  session->leave("/repo");
  auto lines = said();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(only<hostlink::BeginObserving>(lines)[0].url, "file:///repo/");
  session->leave("/link");
  session->leave("/link");
  lines = said();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(only<hostlink::EndObserving>(lines)[0].url, "file:///repo/");
}

TEST_F(FileManagerSessionTest, AThousandWindowsAreServedAndLeaveNothing) {
  std::vector<char> files(20'000);
  const auto folderOf = [](std::size_t i) { return "/repo/" + std::to_string(i % 1'000); };
  for (std::size_t i = 0; i < 1'000; ++i) session->enter(folderOf(i));
  for (std::size_t i = 0; i < files.size(); ++i)
    session->show(&files[i], folderOf(i) + "/" + std::to_string(i), false);
  auto lines = said();
  EXPECT_EQ(only<hostlink::BeginObserving>(lines).size(), 1'000U);
  std::size_t questions = 0;
  for (const auto& line : only<hostlink::RequestBadges>(lines)) questions += line.urls.size();
  EXPECT_EQ(questions, files.size());
  for (std::size_t i = 0; i < files.size(); ++i)
    setBadge("file://" + folderOf(i) + "/" + std::to_string(i), badge::kConflicted);
  std::size_t added = 0;
  while (session->takeChange()) ++added;
  EXPECT_EQ(added, files.size());
  // All are closed.
  for (const char& file : files) session->forget(&file);
  for (std::size_t i = 0; i < 1'000; ++i) session->leave(folderOf(i));
  EXPECT_EQ(only<hostlink::EndObserving>(said()).size(), 1'000U);
  session->ended(now);
  session->client().connecting();
  session->client().connected(now);
  hostlink::Welcome welcome;
  welcome.directories = {"file:///repo/"};
  answer(welcome);
  lines = said();
  EXPECT_TRUE(only<hostlink::BeginObserving>(lines).empty());
  EXPECT_TRUE(only<hostlink::RequestBadges>(lines).empty());
  EXPECT_FALSE(session->hasChanged());
}

TEST_F(FileManagerSessionTest, AVisitedFolderStaysInViewWhileItsItemsDo) {
  session->visit("/repo");
  session->show(a, "/repo/f", false);
  for (int i = 0; i < 10; ++i) session->visit("/home/" + std::to_string(i));
  EXPECT_TRUE(only<hostlink::EndObserving>(said()).empty());
  session->forget(a);
  EXPECT_EQ(only<hostlink::EndObserving>(said()).size(), 1U);
}

TEST_F(FileManagerSessionTest, AVisitedFolderIsInViewByItsWholeName) {
  const std::string name(100, 'n');
  session->visit("/repo/" + name);
  const auto begun = only<hostlink::BeginObserving>(said());
  ASSERT_EQ(begun.size(), 1U);
  EXPECT_EQ(begun[0].url, "file:///repo/" + name + "/");
}

TEST_F(FileManagerSessionTest, TellsWhereBadgesAreShown) {
  EXPECT_TRUE(session->isObserved("/link"));
  EXPECT_FALSE(session->isObserved("/home"));
  answer(hostlink::Directories{{"file:///home/"}});
  EXPECT_GE(folderChanges, 1);
  EXPECT_TRUE(session->isObserved("/home"));
}

// -- Menus ----------------------------------------------------------------------------------------

TEST_F(FileManagerSessionTest, AMenuIsAskedForInTheBackgroundAndThenKnown) {
  const auto question = questionFor("/link/f");
  EXPECT_EQ(session->menu(question, now), nullptr);
  EXPECT_TRUE(session->isAsking(question));
  const auto request = menuRequest();
  EXPECT_EQ(request.selected, Texts{"file:///repo/f"});
  EXPECT_EQ(request.targeted, "file:///repo/");
  answer(menuOf(request, {"Stage"}));
  EXPECT_EQ(menuChanges, 1);
  const auto menu = session->menu(question, now);
  ASSERT_EQ(menu->size(), 1U);
  EXPECT_TRUE(said().empty()) << "the answer is fresh";
}

TEST_F(FileManagerSessionTest, AMenuIsAskedForAgainAfterAWhileAndToldOnlyWhenItIsAnother) {
  const auto question = questionFor("/repo/f");
  session->menu(question, now);
  answer(menuOf(menuRequest(), {"Stage"}));
  now += MenuCache::kFresh;
  EXPECT_NE(session->menu(question, now), nullptr);
  answer(menuOf(menuRequest(), {"Stage"}));
  EXPECT_EQ(menuChanges, 1);
  now += MenuCache::kFresh;
  session->menu(question, now);
  answer(menuOf(menuRequest(), {"Unstage"}));
  EXPECT_EQ(menuChanges, 2);
}

TEST_F(FileManagerSessionTest, TheMenuOfTheSelectionFollowsTheBadges) {
  const auto question = questionFor("/repo/f");
  session->show(a, "/repo/f", false);
  session->menu(question, now);
  const auto lines = said();
  answer(menuOf(only<hostlink::MenuRequest>(lines).at(0), {"Stage"}));
  setBadge("file:///repo/f", badge::kConflicted);
  ASSERT_TRUE(session->wakeAt());
  now = *session->wakeAt();
  session->tick(now);
  answer(menuOf(menuRequest(), {"Resolve"}));
  EXPECT_EQ(menuChanges, 2);
  EXPECT_EQ(session->menu(question, now)->at(0).title, "Resolve");
}

TEST_F(FileManagerSessionTest, AMenuThatWasOnItsWayWhenABadgeChangedIsAskedForAgain) {
  const auto question = questionFor("/repo/f");
  session->show(a, "/repo/f", false);
  session->menu(question, now);
  const auto early = only<hostlink::MenuRequest>(said());
  ASSERT_EQ(early.size(), 1U);
  setBadge("file:///repo/f", badge::kConflicted);
  ASSERT_TRUE(session->wakeAt());
  now = *session->wakeAt();
  session->tick(now);
  answer(menuOf(early[0], {"Stage"}));
  ASSERT_TRUE(session->wakeAt());
  now = *session->wakeAt();
  session->tick(now);
  answer(menuOf(menuRequest(), {"Resolve"}));
  EXPECT_EQ(session->menu(question, now)->at(0).title, "Resolve");
}

TEST_F(FileManagerSessionTest, AnItemIsChosenInAMenuThatIsAskedForAnew) {
  const auto question = questionFor("/repo/f");
  session->menu(question, now);
  answer(menuOf(menuRequest(), {"Stage"}));
  const auto menu = session->menu(question, now);
  session->choose(question, menu->at(0), now);
  const auto request = menuRequest();
  answer(menuOf(request, {"Other", "Stage"}));
  const auto chosen = only<hostlink::Choose>(said());
  ASSERT_EQ(chosen.size(), 1U);
  EXPECT_EQ(chosen[0].menu, request.id);
  EXPECT_EQ(chosen[0].path, std::vector<std::size_t>{1});
  answer(hostlink::Done{chosen[0].id});
  EXPECT_TRUE(refused.empty());
}

TEST_F(FileManagerSessionTest, WhatIsNotThereAnyMoreIsRefusedInWords) {
  const auto question = questionFor("/repo/f");
  session->menu(question, now);
  answer(menuOf(menuRequest(), {"Stage"}));
  session->choose(question, session->menu(question, now)->at(0), now);
  answer(menuOf(menuRequest(), {"Unstage"}));
  EXPECT_EQ(refused, Texts{"Stage: the menu has changed: the item is not there any more"});
  EXPECT_TRUE(only<hostlink::Choose>(said()).empty());
}

TEST_F(FileManagerSessionTest, AnExtensionThatEndsInMidMenuLeavesNoMenu) {
  const auto question = questionFor("/repo/f");
  session->menu(question, now);
  answer(menuOf(menuRequest(), {"Stage"}));
  const auto menu = session->menu(question, now);
  session->ended(now);
  EXPECT_EQ(menuChanges, 2);
  EXPECT_EQ(session->menu(question, now), nullptr);
  session->choose(question, menu->at(0), now);
  EXPECT_EQ(refused, Texts{"Stage: the extension is not there"});
}

TEST_F(FileManagerSessionTest, AMenuWithoutAnAnswerIsGivenUp) {
  const auto question = questionFor("/repo/f");
  session->menu(question, now);
  now += HostClient::kAnswerLimit;
  session->tick(now);
  EXPECT_FALSE(session->isAsking(question));
  EXPECT_EQ(menuChanges, 0);
}

TEST_F(FileManagerSessionTest, ThereIsNoMenuForAnEnormousSelection) {
  const std::vector<HostClient::Place> places(MenuCache::kMaximumSelection + 1,
                                              HostClient::Place{"/repo/f", false});
  EXPECT_FALSE(session->question(0, places, "/repo"));
}

TEST_F(FileManagerSessionTest, OnlySomeMenusAreKept) {
  const auto first = questionFor("/repo/first");
  session->menu(first, now);
  answer(menuOf(menuRequest(), {"Stage"}));
  for (std::size_t i = 0; i < MenuCache::kMaximumMenus; ++i)
    session->menu(questionFor("/repo/" + std::to_string(i)), now);
  EXPECT_EQ(session->menu(first, now), nullptr);
}

}  // namespace
}  // namespace kelpie::filemanagers
