#include "agent/actions/ActionRequest.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "agent/git/StatusSnapshot.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/MenuItem.h"

namespace kelpie::agent {
namespace {

using Kind = ActionKind;

const FileIdentifier kTarget = *FileIdentifier::fromObject(Bytes(16, 7));

Object itemOf(std::string_view action, Object object = {}, std::string title = "Title") {
  auto item = std::make_shared<MenuItem>(std::move(title), std::string(action));
  item->tag = 17;
  item->representedObject = std::move(object);
  return std::shared_ptr<const Archivable>(std::move(item));
}

Dictionary messageOf(Object item) {
  return {{"KPMessageSender", std::move(item)},
          {"KPMessageTarget", kTarget},
          {"KPMessagePortName", "port"}};
}

Object file(std::string_view path) { return URL::fileURLWithPath(path); }

// What arrives of the message when it has gone through a port.
std::optional<ActionRequest> arrived(const Dictionary& message) {
  const std::optional<Bytes> archive = KeyedArchiver::archivedData(message);
  if (!archive) return std::nullopt;
  return ActionRequest::fromMessage(KeyedUnarchiver::open(std::make_shared<const Bytes>(*archive)));
}

TEST(ActionRequest, ReadsARepositoryAction) {
  const Objects urls = {file("/r/a b"), file("/r/\xFF"), file("/r/folder/")};
  const auto request = arrived(messageOf(itemOf("stage:", urls)));
  ASSERT_TRUE(request);
  EXPECT_EQ(request->kind(), Kind::Repository);
  EXPECT_EQ(request->action(), "stage:");
  EXPECT_EQ(request->title, "Title");
  EXPECT_EQ(request->tag, 17);
  EXPECT_EQ(request->target, kTarget);
  EXPECT_EQ(request->portName, "port");
  EXPECT_EQ(request->paths, (std::vector<std::string>{"/r/a b", "/r/\xFF", "/r/folder"}));
}

TEST(ActionRequest, ADeletedItemIsNamedByItsOwnPath) {
  const std::string placeholder = "/r/gone" + std::string(kDeletedItemSuffix);
  const auto request = arrived(messageOf(itemOf("stage:", Objects{file(placeholder)})));
  ASSERT_TRUE(request);
  EXPECT_EQ(request->paths, std::vector<std::string>{"/r/gone"});
}

TEST(ActionRequest, ReadsTheOneFileOfADictionary) {
  const auto request =
      arrived(messageOf(itemOf("externalDiff:", Dictionary{{"file", file("/r/a")}})));
  ASSERT_TRUE(request);
  EXPECT_EQ(request->paths, std::vector<std::string>{"/r/a"});
}

TEST(ActionRequest, AnItemWithoutAnObjectHasNoPaths) {
  const auto request = arrived(messageOf(itemOf("saveStash:")));
  ASSERT_TRUE(request);
  EXPECT_TRUE(request->paths.empty());
}

TEST(ActionRequest, ReadsAnApplicationAction) {
  const auto request = arrived({{"KPMessageSender", itemOf("quit:")}});
  ASSERT_TRUE(request);
  EXPECT_EQ(request->kind(), Kind::Application);
  EXPECT_FALSE(request->target);
}

TEST(ActionRequest, ReadsCreationRequests) {
  for (const auto& [selector, action] :
       {std::pair{"cloneRepositoryWithUrl:portName:", "clone:"},
        std::pair{"createRepositoryWithUrl:portName:", "createRepository:"}}) {
    const auto request =
        arrived({{"KPMessageSelector", selector}, {"KPMessageArgument", file("/folder")}});
    ASSERT_TRUE(request) << selector;
    EXPECT_EQ(request->kind(), Kind::Creation);
    EXPECT_EQ(request->action(), action);
    EXPECT_EQ(request->paths, std::vector<std::string>{"/folder"});
  }
}

TEST(ActionRequest, WhatIsNoRequestIsNone) {
  struct Case {
    const char* why;
    Object message;
  };
  const Dictionary noTarget = {{"KPMessageSender", itemOf("stage:")}};
  const Object remote = *URL::fromString("https://example.org/r/a");
  const Case cases[] = {
      {"nil", Object()},
      {"no dictionary", "stage:"},
      {"empty", Dictionary()},
      {"a sender that is no menu item", Dictionary{{"KPMessageSender", "stage:"}}},
      {"an unknown action", messageOf(itemOf("formatDisk:"))},
      {"an empty action", messageOf(itemOf(""))},
      {"an action without its colon", messageOf(itemOf("stage"))},
      {"a creation that comes as an item", messageOf(itemOf("clone:"))},
      {"no target", noTarget},
      {"an object of another kind", messageOf(itemOf("stage:", "/r/a"))},
      {"an element of another kind", messageOf(itemOf("stage:", Objects{file("/r/a"), "/r/b"}))},
      {"a URL of no file", messageOf(itemOf("stage:", Objects{remote}))},
      {"a dictionary without its file", messageOf(itemOf("externalDiff:", Dictionary()))},
      {"a path with a zero byte",
       messageOf(itemOf("stage:", Objects{*URL::fromString("file:///r/a%00b")}))},
      {"an endless title", messageOf(itemOf("stage:", {}, std::string(100'000, 'x')))},
      {"another selector", Dictionary{{"KPMessageSelector", "pingPortName:"}}},
      {"a creation of nothing",
       Dictionary{{"KPMessageSelector", "cloneRepositoryWithUrl:portName:"}}},
      {"a creation elsewhere", Dictionary{{"KPMessageSelector", "cloneRepositoryWithUrl:portName:"},
                                          {"KPMessageArgument", remote}}},
  };
  for (const Case& each : cases) EXPECT_FALSE(ActionRequest::fromMessage(each.message)) << each.why;
}

TEST(ActionRequest, AnItemWithoutAnActionIsNone) {
  EXPECT_FALSE(ActionRequest::fromMessage(
      messageOf(std::shared_ptr<const Archivable>(std::make_shared<MenuItem>("Header")))));
}

}  // namespace
}  // namespace kelpie::agent
