#include "platform/contract/MessagePortContract.h"

#include <chrono>
#include <thread>
#include <utility>

namespace kelpie {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(MessagePortContract);

std::unique_ptr<LocalMessagePort> MessagePortContract::open(const std::string& name) {
  return world->ports().createLocal(name, [this](std::int32_t id,
                                                 const std::shared_ptr<const Bytes>& message,
                                                 LocalMessagePort::Completion done) {
    received.push_back(std::to_string(id) + " " + std::string(message->begin(), message->end()));
    waiting.push_back(std::move(done));
    if (!keepsBack) finish();
  });
}

void MessagePortContract::finish() {
  for (const LocalMessagePort::Completion& done : std::exchange(waiting, {})) done();
}

namespace {

constexpr std::chrono::milliseconds kLimit(10'000);

Bytes textBytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST_P(MessagePortContract, MessagesArriveInOrderWithTheirNumbersAndBytes) {
  const auto local = open(port);
  ASSERT_NE(local, nullptr);
  world->deliver(port, 2, textBytes("one"));
  world->deliver(port, -7, {});
  world->deliver(port, 0, textBytes("three"));
  EXPECT_TRUE(received.empty()) << "not before the main thread turns to them";
  ASSERT_TRUE(receives(3));
  EXPECT_EQ(received, (std::vector<std::string>{"2 one", "-7 ", "0 three"}));
}

TEST_P(MessagePortContract, TheNameOfAPortIsFreeAgainWhenItIsGone) {
  auto local = open(port);
  ASSERT_NE(local, nullptr);
  local.reset();
  EXPECT_NE(open(port), nullptr);
}

TEST_P(MessagePortContract, AMessageMayBeDoneOnAnyThread) {
  keepsBack = true;
  const auto local = open(port);
  world->deliver(port, 1, textBytes("a"));
  ASSERT_TRUE(receives(1));
  std::thread([this] { finish(); }).join();
  world->deliver(port, 2, textBytes("b"));
  EXPECT_TRUE(receives(2));
  finish();
}

TEST_P(MessagePortContract, AMessageMayBeDoneWhenThePortIsGone) {
  keepsBack = true;
  auto local = open(port);
  world->deliver(port, 1, textBytes("a"));
  ASSERT_TRUE(receives(1));
  local.reset();
  finish();
  EXPECT_EQ(received.size(), 1U);
}

TEST_P(MessagePortContract, AnotherProcessGetsWhatIsSentToItsPort) {
  const std::string theirs = world->name("theirs");
  world->listen(theirs);
  const auto remote = world->ports().createRemote(theirs);
  ASSERT_NE(remote, nullptr);
  EXPECT_EQ(remote->send(3, textBytes("first"), kLimit, kLimit), RemoteMessagePort::kSuccess);
  EXPECT_EQ(remote->send(4, textBytes("second"), kLimit, kLimit), RemoteMessagePort::kSuccess);
  EXPECT_TRUE(world->runUntil([&] { return world->arrived().size() == 2; }));
  EXPECT_EQ(world->arrived(), (std::vector<std::string>{"3 first", "4 second"}));
}

TEST_P(MessagePortContract, APortThatNobodyHasIsNotFound) {
  EXPECT_EQ(world->ports().createRemote(world->name("nobody's")), nullptr);
}

TEST_P(MessagePortContract, ASendToAPortThatIsGoneSaysSo) {
  const std::string theirs = world->name("theirs");
  world->listen(theirs);
  const auto remote = world->ports().createRemote(theirs);
  ASSERT_NE(remote, nullptr);
  world->stopListening(theirs);
  EXPECT_EQ(remote->send(3, textBytes("lost"), kLimit, kLimit), RemoteMessagePort::kIsInvalid);
}

}  // namespace
}  // namespace kelpie
