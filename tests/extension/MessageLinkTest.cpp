#include "extension/MessageLink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "foundation/Error.h"
#include "protocol/MessageKeys.h"
#include "support/FakePlatform.h"

namespace kelpie {
namespace {

constexpr std::string_view kApplicationPort = "group.org.kelpie.App";

constexpr std::string_view kSendingPortError =
    "There was an error creating sending communication port.";

class MessageLinkTest : public testing::Test {
 protected:
  // The detail texts of the "KPAppMessage" notifications.
  std::vector<std::string> reported() const {
    std::vector<std::string> texts;
    for (const auto& notification : fakes.notifications.posted()) {
      EXPECT_EQ(notification.name, "KPAppMessage");
      const auto message = nlohmann::json::parse(notification.object);
      EXPECT_EQ(message["KPMessageSelector"], "showError:");
      texts.push_back(message["KPMessageArgument"]["NSLocalizedRecoverySuggestion"]);
    }
    return texts;
  }

  std::unique_ptr<LocalMessagePort> listen() {
    return link.setupMessageListener([](auto, auto, const auto& done) { done(); });
  }

  void send(const Dictionary& message = {{kMessageSelectorKey, "hello:"}}) {
    link.sendMessage(message, kApplicationMessage);
  }

  FakePlatform fakes;
  MessageLink link{fakes.platform()};
};

using Texts = std::vector<std::string>;

// -- The receiving port ---------------------------------------------------------------------------

TEST_F(MessageLinkTest, TheReceivingPortIsNamedByGroupAndProcess) {
  fakes.applications.ownPid = 31337;
  const auto port = listen();
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(fakes.messagePorts.localNames(), Texts{"group.org.kelpie.Sync.31337"});
  EXPECT_EQ(link.portName(), "group.org.kelpie.Sync.31337");
  EXPECT_TRUE(fakes.messagePorts.sent().empty());
}

// Why there is no receiving port, as the user is told through a sending port that happens to be
// there.
TEST_F(MessageLinkTest, EveryFailureOfTheReceivingSideHasItsText) {
  struct Case {
    const char* why;
    bool taskMade;
    Object groups;
    bool refuses;
    const char* text;
  };
  const Case cases[] = {
      {"no task", false, Objects{"group"}, false,
       "There was an error creating security task for Finder extension."},
      {"no entitlement", true, Object(), false,
       "There was an error getting application groups security entitlement."},
      {"no array", true, "group", false, "Application groups security entitlement is empty."},
      {"an empty array", true, Objects{}, false,
       "Application groups security entitlement is empty."},
      {"no string", true, Objects{1, "group"}, false,
       "Application groups security entitlement is of unknown type."},
      {"the port is refused", true, Objects{"group"}, true,
       "There was an error creating receiving communication port."},
  };
  for (const Case& row : cases) {
    FakePlatform platform;
    platform.messagePorts.setListening("test", true);
    platform.messagePorts.refuseLocal(row.refuses);
    platform.entitlements.taskMade = row.taskMade;
    platform.entitlements.values.clear();
    platform.entitlements.values.emplace(FakeEntitlements::kApplicationGroups, row.groups);
    MessageLink target(platform.platform());
    target.setPort(platform.messagePorts.createRemote("test"));

    EXPECT_EQ(target.setupMessageListener([](auto, auto, const auto& done) { done(); }), nullptr)
        << row.why;

    EXPECT_EQ(target.portName(), std::nullopt) << row.why;
    ASSERT_EQ(platform.messagePorts.sent().size(), 1U) << row.why;
    const auto message = platform.messagePorts.sent().front();
    EXPECT_EQ(message.id, 1) << row.why;
    EXPECT_EQ(message.content["KPMessageSelector"].stringValue(), "showError:") << row.why;
    EXPECT_TRUE(message.content["KPMessagePortName"].isNil()) << row.why;
    const std::optional<Error> error = message.content["KPMessageArgument"].error();
    ASSERT_TRUE(error) << row.why;
    EXPECT_EQ(error->domain, "KPGitErrorDomain") << row.why;
    EXPECT_EQ(error->code, -1) << row.why;
    EXPECT_TRUE(error->userInfo.isEqual(Dictionary{
        {"NSLocalizedDescription", "Finder extension failed to receive message from application"},
        {"NSLocalizedRecoverySuggestion", row.text}}))
        << row.why << ": " << error->userInfo.description();
  }
}

// Without a group the sending port cannot be named either.
TEST_F(MessageLinkTest, AMissingGroupReachesTheUserAsAFailureToSend) {
  fakes.entitlements.values.clear();
  fakes.messagePorts.setListening(kApplicationPort, true);
  EXPECT_EQ(listen(), nullptr);
  EXPECT_EQ(reported(), Texts{std::string(kSendingPortError)});
  EXPECT_TRUE(fakes.messagePorts.sent().empty());
}

TEST_F(MessageLinkTest, ATakenPortNameIsAFailure) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  const auto first = listen();
  EXPECT_EQ(listen(), nullptr);
  EXPECT_EQ(fakes.messagePorts.sent().size(), 1U);
  EXPECT_EQ(link.portName(), "group.org.kelpie.Sync.4242") << "the first port is still there";
}

// -- Sending --------------------------------------------------------------------------------------

TEST_F(MessageLinkTest, TheSendingPortIsOpenedByTheFirstSendAndKept) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  EXPECT_EQ(link.port(), nullptr);
  EXPECT_EQ(fakes.events.count("ports.remote"), 0U);
  send();
  send();
  EXPECT_NE(link.port(), nullptr);
  EXPECT_EQ(fakes.events.linesWith("ports.remote"), Texts{"ports.remote group.org.kelpie.App"});
  EXPECT_EQ(fakes.messagePorts.sent().size(), 2U);
  EXPECT_TRUE(reported().empty());
}

TEST_F(MessageLinkTest, AMessageGoesOutWithThePortNameAddedAndTheTimeOuts) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  const auto port = listen();
  link.sendMessage({{kMessageSelectorKey, "hello:"}, {kMessageArgumentKey, 5}}, 7);
  ASSERT_EQ(fakes.messagePorts.sent().size(), 1U);
  const auto message = fakes.messagePorts.sent().front();
  EXPECT_EQ(message.port, kApplicationPort);
  EXPECT_EQ(message.id, 7);
  EXPECT_EQ(message.sendTimeout, std::chrono::seconds(1));
  EXPECT_EQ(message.receiveTimeout, std::chrono::seconds(1));
  EXPECT_TRUE(message.content.isEqual(Dictionary{{"KPMessageSelector", "hello:"},
                                                 {"KPMessageArgument", 5},
                                                 {"KPMessagePortName", *link.portName()}}))
      << message.content.description();
}

TEST_F(MessageLinkTest, TheOwnPortNameReplacesOneInTheMessage) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  const auto port = listen();
  send({{kMessagePortNameKey, "another"}});
  EXPECT_EQ(fakes.messagePorts.sent().front().content["KPMessagePortName"].stringValue(),
            *link.portName());
}

TEST_F(MessageLinkTest, WithoutTheApplicationEveryMessageIsReportedOnce) {
  for (std::size_t count = 1; count <= 3; ++count) {
    send();
    EXPECT_EQ(reported(), Texts(count, std::string(kSendingPortError)));
  }
  EXPECT_EQ(fakes.events.count("ports.remote"), 3U) << "each send tries anew";
  EXPECT_EQ(link.port(), nullptr);
}

TEST_F(MessageLinkTest, AFailedSendIsReportedWithItsStatusAndKeepsThePort) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  Texts wanted;
  for (const std::int32_t status : {-1, -2, -3, -4, 5}) {
    fakes.messagePorts.failSends(status);
    send();
    wanted.push_back("There was an error sending message to application, status " +
                     std::to_string(status) + ".");
    EXPECT_EQ(reported(), wanted);
  }
  EXPECT_EQ(fakes.events.count("ports.remote"), 1U);
  EXPECT_EQ(fakes.events.count("ports.release"), 0U);
  fakes.messagePorts.failSends(0);
  send();
  EXPECT_EQ(reported(), wanted);
  EXPECT_EQ(fakes.messagePorts.sent().size(), 6U) << "a failed message is not sent again";
}

// It does not lead to the next port of its name.
TEST_F(MessageLinkTest, ADeadPortIsKeptAsWell) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  send();
  fakes.messagePorts.setListening(kApplicationPort, false);
  send();
  fakes.messagePorts.setListening(kApplicationPort, true);
  send();
  EXPECT_EQ(reported().size(), 2U);
  EXPECT_EQ(fakes.events.count("ports.remote"), 1U);
}

TEST_F(MessageLinkTest, WhatCannotBeArchivedIsReported) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  Object nested = "x";
  for (int level = 0; level < 300; ++level) nested = Objects{nested};
  send({{kMessageArgumentKey, nested}});
  EXPECT_EQ(reported(), Texts{"There was an error archiving message for sending."});
  EXPECT_TRUE(fakes.messagePorts.sent().empty());
  EXPECT_NE(link.port(), nullptr);
}

TEST_F(MessageLinkTest, APortThatIsLetGoIsOpenedAnew) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  send();
  link.setPort(nullptr);
  EXPECT_EQ(fakes.events.count("ports.release"), 1U);
  send();
  EXPECT_EQ(fakes.events.count("ports.remote"), 2U);
}

TEST_F(MessageLinkTest, ASetPortReplacesTheFormer) {
  fakes.messagePorts.setListening("first", true);
  fakes.messagePorts.setListening("second", true);
  const auto first = fakes.messagePorts.createRemote("first");
  link.setPort(first);
  link.setPort(fakes.messagePorts.createRemote("second"));
  EXPECT_EQ(first.use_count(), 1);
  send();
  EXPECT_EQ(fakes.messagePorts.sent().front().port, "second");
}

// Ports with something going on while one is opened.
class InterruptedPorts final : public MessagePorts {
 public:
  explicit InterruptedPorts(MessagePorts& ports) : ports_(ports) {}

  std::function<void()> interruption;

  std::unique_ptr<LocalMessagePort> createLocal(std::string_view name,
                                                LocalMessagePort::Handler handler) override {
    return ports_.createLocal(name, std::move(handler));
  }
  std::shared_ptr<RemoteMessagePort> createRemote(std::string_view name) override {
    auto port = ports_.createRemote(name);
    if (interruption) std::exchange(interruption, nullptr)();
    return port;
  }

 private:
  MessagePorts& ports_;
};

// A port to an application that ended meanwhile would be kept for good otherwise.
TEST_F(MessageLinkTest, APortThatIsLetGoWhileItIsOpenedIsNotKept) {
  fakes.messagePorts.setListening(kApplicationPort, true);
  InterruptedPorts ports(fakes.messagePorts);
  const Platform& real = fakes.platform();
  MessageLink interrupted(Platform{real.finder, ports, real.defaults, real.entitlements,
                                   real.applications, real.processMonitors, real.notifications,
                                   real.files, real.queues, real.bundle, real.limits, real.log});
  ports.interruption = [&] { interrupted.setPort(nullptr); };
  interrupted.sendSelector("hello:", 1);
  EXPECT_EQ(fakes.messagePorts.sent().size(), 1U);
  EXPECT_EQ(interrupted.port(), nullptr);
  interrupted.sendSelector("hello:", 1);
  EXPECT_NE(interrupted.port(), nullptr);
}

TEST_F(MessageLinkTest, AMessageThatIsToHoldNothingCannotBeBuilt) {
  EXPECT_THROW(link.sendSelector("pingPortName:", Object()), std::invalid_argument);
}

}  // namespace
}  // namespace kelpie
