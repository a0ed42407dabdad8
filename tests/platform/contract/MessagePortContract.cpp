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

}  // namespace

void MessagePortContract::closeAndNotice(const std::string& name, RemoteMessagePort& remote) {
  world->stopListening(name);
  const auto send = [&remote] { return remote.send(3, textBytes("lost"), kLimit, kLimit); };
  const std::int32_t status = send();
  if (world->tellsAtOnceThatAPortIsGone()) {
    EXPECT_EQ(status, RemoteMessagePort::kIsInvalid);
    return;
  }
  EXPECT_NE(status, RemoteMessagePort::kSuccess);
  EXPECT_TRUE(world->runUntil([&send] { return send() == RemoteMessagePort::kIsInvalid; }));
}

namespace {

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

TEST_P(MessagePortContract, ANameThatIsTakenGivesNoPortAndLeavesTheOneThatHasIt) {
  const auto local = open(port);
  ASSERT_NE(local, nullptr);
  EXPECT_EQ(open(port), nullptr);
  world->deliver(port, 1, textBytes("a"));
  EXPECT_TRUE(receives(1));
}

TEST_P(MessagePortContract, APortMayBeLetGoByItsOwnHandler) {
  const auto held = std::make_shared<int>(0);
  bool isGone = false;
  std::unique_ptr<LocalMessagePort> local = world->ports().createLocal(
      port, [&local, &isGone, held](std::int32_t, const std::shared_ptr<const Bytes>&,
                                    const LocalMessagePort::Completion& done) {
        const std::weak_ptr<int> own = held;
        bool& isNoted = isGone;
        done();
        local.reset();
        EXPECT_GT(own.use_count(), 1) << "the handler must outlive its call";
        isNoted = true;
      });
  ASSERT_NE(local, nullptr);
  world->deliver(port, 1, {});
  world->deliver(port, 2, {});
  EXPECT_TRUE(world->runUntil([&] { return isGone; }));
  EXPECT_NE(open(port), nullptr) << "its name is free";
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
  closeAndNotice(theirs, *remote);
}

TEST_P(MessagePortContract, APortThatIsGoneIsNotReplacedByTheNextOneOfItsName) {
  const std::string theirs = world->name("theirs");
  world->listen(theirs);
  const auto former = world->ports().createRemote(theirs);
  ASSERT_NE(former, nullptr);
  closeAndNotice(theirs, *former);
  world->listen(theirs);
  EXPECT_EQ(former->send(3, textBytes("lost"), kLimit, kLimit), RemoteMessagePort::kIsInvalid);
  const auto next = world->ports().createRemote(theirs);
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(next->send(4, textBytes("found"), kLimit, kLimit), RemoteMessagePort::kSuccess);
  EXPECT_TRUE(world->runUntil([&] { return !world->arrived().empty(); }));
  EXPECT_EQ(world->arrived(), (std::vector<std::string>{"4 found"}));
}

TEST_P(MessagePortContract, ASenderThatIsLetGoLeavesTheOthersOfItsPort) {
  const std::string theirs = world->name("theirs");
  world->listen(theirs);
  auto first = world->ports().createRemote(theirs);
  const auto second = world->ports().createRemote(theirs);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  first.reset();
  EXPECT_EQ(second->send(3, textBytes("a"), kLimit, kLimit), RemoteMessagePort::kSuccess);
  EXPECT_TRUE(world->runUntil([&] { return world->arrived().size() == 1; }));
}

}  // namespace
}  // namespace kelpie
