#include "agent/ProtocolPeer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "agent/PeerFixture.h"
#include "archive/KeyedArchiver.h"
#include "foundation/Error.h"
#include "foundation/MenuItem.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"

namespace kelpie::agent {
namespace {

class ProtocolPeerTest : public PeerFixture {
 protected:
  void deliver(std::int32_t id, const Object& content) { ports_.deliver("g.App", id, content); }
  void waitUntilDone(std::size_t messages) {
    ASSERT_TRUE(waitFor([&] { return ports_.doneMessages() == messages; }));
  }
};

TEST_F(ProtocolPeerTest, APingMakesTheExtensionKnown) {
  start();
  send("pingPortName:", kPort);
  waitUntilDone(1);
  EXPECT_EQ(extensions_->count(), 1U);
  EXPECT_EQ(selectors(), std::vector<std::string>()) << "no message is answered with another";
  EXPECT_EQ(log_.lines(), std::vector<std::string>());
}

TEST_F(ProtocolPeerTest, APingOfNobodyIsSaid) {
  start();
  send("pingPortName:", "g.Sync.99");
  waitUntilDone(1);
  EXPECT_EQ(log_.lines(), std::vector<std::string>{"port g.Sync.99: nobody listens"});
}

TEST_F(ProtocolPeerTest, APortThatIsTakenCannotBeListenedAt) {
  start();
  FakeMessagePorts others(events_, loop_.queue());
  others.refuseLocal(true);
  ProtocolPeer second({log_, *extensions_, *registry_, actions_, *errors_});
  EXPECT_FALSE(second.listen(others, "g"));
}

TEST_F(ProtocolPeerTest, WhatIsNoMessageCostsOneLineAndTheNextIsTaken) {
  start();
  const Object folder = URL::fileURLWithPath(sandbox_.root());
  const auto selector = [](std::string_view name, const Object& argument, const char* port) {
    return Object(Dictionary{
        {kMessageSelectorKey, name}, {kMessageArgumentKey, argument}, {kMessagePortNameKey, port}});
  };
  const auto opening = [&](const Object& url, const char* port) {
    return selector("openRepository:portName:", Dictionary{{"url", url}}, port);
  };
  struct Case {
    const char* why;
    std::int32_t id;
    Object content;
  };
  const Case cases[] = {
      {"a message of the wrong direction", 2, selector("setStatusInfo:", 1, kPort)},
      {"an id that there is not", -7, selector("pingPortName:", kPort, kPort)},
      {"no dictionary", 1, Object("pingPortName:")},
      {"no selector", 1, Object(Dictionary{{"a", 1}})},
      {"a selector that is no text", 1, Object(Dictionary{{kMessageSelectorKey, 7}})},
      {"a selector that nobody knows", 1, selector("deleteEverything:", 1, kPort)},
      {"a long selector that nobody knows", 1, selector(std::string(100000, 'x'), 1, kPort)},
      {"a folder that is a text", 1, opening("/etc", kPort)},
      {"a folder elsewhere", 1, opening(URL::fromString("https://example.org/a").value(), kPort)},
      {"a path with a NUL", 1, opening(URL::fromString("file:///a%00b").value(), kPort)},
      {"an endless path", 1, opening(URL::fileURLWithPath("/" + std::string(100000, 'a')), kPort)},
      {"a request that is no dictionary", 1, selector("openRepository:portName:", 5, kPort)},
      {"a port with a path", 1, opening(folder, "g.Sync./../../x")},
      {"a port of another group", 1, opening(folder, "h.Sync.11")},
      {"the application's own port", 1, opening(folder, "g.App")},
      {"a port without a number", 1, opening(folder, "g.Sync.")},
      {"a port with an endless number", 1, opening(folder, "g.Sync.11111111111")},
      {"a ping of a number", 1,
       Object(Dictionary{{kMessageSelectorKey, "pingPortName:"}, {kMessageArgumentKey, 7}})},
      {"references of nothing", 1,
       Object(Dictionary{{kMessageSelectorKey, "unshallowRepository:"},
                         {kMessagePortNameKey, kPort}})},
      {"an error without words", 1, selector("showError:", 3, kPort)},
  };
  std::size_t messages = 0;
  for (const Case& c : cases) {
    events_.clear();
    deliver(c.id, c.content);
    waitUntilDone(++messages);
    EXPECT_EQ(log_.lines().size(), 1U) << c.why;
    for (const std::string& line : log_.lines()) EXPECT_LT(line.size(), 300U) << c.why;
  }
  ports_.deliver("g.App", 1, Bytes{1, 2, 3});
  waitUntilDone(++messages);
  EXPECT_EQ(registry_->count(), 0U);
  EXPECT_TRUE(notifier_.shown.empty());
  send("pingPortName:", kPort);
  waitUntilDone(++messages);
  EXPECT_EQ(extensions_->count(), 1U);
}

TEST_F(ProtocolPeerTest, ReferencesOfAWorkingCopyThatIsNotOpenAreNotSent) {
  start();
  send("unshallowRepository:", identifierOf("."));
  waitUntilDone(1);
  EXPECT_EQ(log_.lines(), std::vector<std::string>());
}

TEST_F(ProtocolPeerTest, ActionsAreHandedOnWithTheirWorkingCopy) {
  sandbox_.init("r");
  start();
  open("r", true);
  ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
  MenuItem item;
  item.action = "fetch:";
  const Object sender(std::shared_ptr<const Archivable>(std::make_shared<const MenuItem>(item)));
  deliver(0, Dictionary{{kMessageTargetKey, identifierOf("r")}, {kMessageSenderKey, sender}});
  deliver(0, Dictionary{{kMessageSenderKey, sender}});
  send("cloneRepositoryWithUrl:portName:", URL::fileURLWithPath(sandbox_.root()));
  send("createRepositoryWithUrl:portName:", URL::fileURLWithPath(sandbox_.root()));
  waitUntilDone(5);
  ASSERT_EQ(actions_.messages.size(), 4U);
  EXPECT_EQ(actions_.sessions[0], registry_->find(identifierOf("r")));
  EXPECT_NE(actions_.sessions[0], nullptr);
  for (std::size_t i = 1; i < 4; ++i) EXPECT_EQ(actions_.sessions[i], nullptr);
  EXPECT_EQ(actions_.messages[0][kMessageSenderKey].as<MenuItem>()->action, "fetch:");
}

TEST_F(ProtocolPeerTest, ErrorsOfTheExtensionReachTheUser) {
  start();
  const Dictionary information = {{kLocalizedDescriptionKey, "It failed"},
                                  {kLocalizedRecoverySuggestionErrorKey, "Because"}};
  send("showError:", Error{std::string(kGitErrorDomain), -1, information});
  send("showError:", Error{std::string(kGitErrorDomain), -1, information});
  waitUntilDone(2);
  ASSERT_EQ(notifier_.shown.size(), 1U) << "the same error is shown once";
  EXPECT_EQ(notifier_.shown[0].title, "It failed");
  EXPECT_EQ(notifier_.shown[0].text, "Because");
  EXPECT_EQ(log_.lines().size(), 2U);
}

}  // namespace
}  // namespace kelpie::agent
