#include "agent/link/ExtensionPort.h"

#include <gtest/gtest.h>

#include <vector>

#include "archive/KeyedArchiver.h"
#include "foundation/Dictionary.h"
#include "linux/base/MainLoop.h"
#include "protocol/MessageKeys.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/FakeMessagePorts.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {
namespace {

// A main loop that runs, and queues for the sending that are drained by hand.
class HandDrained final : public SerialQueues {
 public:
  HandDrained(MainLoop& loop, ManualQueues& queues) : loop_(loop), queues_(queues) {}
  std::shared_ptr<SerialQueue> mainQueue() override { return loop_.queue(); }
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label) override {
    return queues_.makeQueue(label);
  }

 private:
  MainLoop& loop_;
  ManualQueues& queues_;
};

class ExtensionPortTest : public testing::Test {
 protected:
  static constexpr const char* kName = "g.Sync.1";

  ExtensionPortTest() {
    ports_.setListening(kName, true);
    port_ = std::make_shared<ExtensionPort>(
        ExtensionPort::Services{loop_, queues_, ports_}, kName, ports_.createRemote(kName),
        ExtensionPort::Callbacks{[this](const std::string&) { ++gone_; },
                                 [this](const std::string&) { ++renewed_; }});
    events_.clear();
  }

  static Message message(std::string_view selector) {
    return std::make_shared<const Bytes>(
        KeyedArchiver::archivedData(Dictionary{{kMessageSelectorKey, selector}}).value());
  }
  void post(std::uint64_t repository, std::string_view matter, std::string_view text = "") {
    port_->post({repository, matter}, message(text.empty() ? matter : text));
  }
  // Sends until nothing is left that can be sent now.
  void run() {
    do {
      manual_.runAll();
      loop_.runUntil([] { return true; }, std::chrono::milliseconds(0));
      // One turn of the loop takes in the results.
      g_main_context_iteration(nullptr, FALSE);
    } while (manual_.pending() > 0 || g_main_context_pending(nullptr) != FALSE);
  }
  std::vector<std::string> sent() const {
    std::vector<std::string> result;
    for (const auto& each : ports_.sent())
      result.push_back(each.content[kMessageSelectorKey].stringValue());
    return result;
  }

  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  ManualQueues manual_{events_};
  HandDrained queues_{loop_, manual_};
  FakeMessagePorts ports_{events_, loop_.queue()};
  std::shared_ptr<ExtensionPort> port_;
  int gone_ = 0;
  int renewed_ = 0;
};

using Texts = std::vector<std::string>;

TEST_F(ExtensionPortTest, MessagesGoOutInOrder) {
  post(1, "a:");
  post(1, "b:");
  post(2, "a:");
  run();
  EXPECT_EQ(sent(), (Texts{"a:", "b:", "a:"}));
  EXPECT_EQ(ports_.sent()[0].id, kExtensionMessage);
  EXPECT_EQ(port_->waiting(), 0U);
}

TEST_F(ExtensionPortTest, ANewerMessageTakesThePlaceOfOneThatStillWaits) {
  post(1, "first:");  // under way at once
  post(1, "status:", "old");
  post(2, "status:", "of another");
  post(1, "opening:");
  post(1, "status:", "new");
  EXPECT_EQ(port_->waiting(), 4U);
  run();
  EXPECT_EQ(sent(), (Texts{"first:", "of another", "opening:", "new"}));
}

// What was posted in between may only be understood after it.
TEST_F(ExtensionPortTest, AMessageThatIsPostedOnceMoreKeepsItsPlace) {
  post(1, "first:");  // under way at once
  post(1, "opening:");
  post(1, "references:");
  post(1, "opening:");
  run();
  EXPECT_EQ(sent(), (Texts{"first:", "opening:", "references:"}));
}

TEST_F(ExtensionPortTest, AMessageThatIsPostedOnceMoreKeepsItsPlaceThoughItDidNotGoOutInTime) {
  ports_.failSends(RemoteMessagePort::kSendTimeout);
  post(1, "opening:");  // under way at once
  post(1, "references:");
  post(1, "opening:");
  run();
  ports_.failSends(RemoteMessagePort::kSuccess);
  const std::size_t tried = ports_.sent().size();
  ASSERT_TRUE(loop_.runUntil(
      [&] {
        run();
        return port_->waiting() == 0;
      },
      std::chrono::seconds(20)));
  const Texts all = sent();
  EXPECT_EQ(Texts(all.begin() + static_cast<std::ptrdiff_t>(tried), all.end()),
            (Texts{"opening:", "references:"}));
}

TEST_F(ExtensionPortTest, WhatIsSaidOfAFolderComesAfterWhatIsSaidOfItsWorkingCopy) {
  post(1, "first:");  // under way at once
  post(1, "opening:", "old");
  port_->post({1, "look:", "/r/a"}, message("a"));
  port_->post({2, "look:", "/s/a"}, message("of another"));
  post(1, "opening:", "new");
  port_->post({1, "look:", "/r/b"}, message("b"));
  run();
  EXPECT_EQ(sent(), (Texts{"first:", "of another", "new", "a", "b"}));
}

TEST_F(ExtensionPortTest, NothingIsSentOfAMessageThatCouldNotBeArchived) {
  port_->post({1, "a:"}, nullptr);
  run();
  EXPECT_EQ(sent(), Texts());
}

TEST_F(ExtensionPortTest, AnExtensionThatIsGoneIsSaidToBe) {
  post(1, "a:");
  run();
  ports_.setListening(kName, false);
  post(1, "b:");
  post(1, "c:");
  run();
  EXPECT_EQ(gone_, 1);
  EXPECT_EQ(renewed_, 0);
  EXPECT_EQ(port_->waiting(), 0U);
  post(1, "d:");
  run();
  EXPECT_EQ(sent().back(), "b:") << "nothing is tried any more";
}

TEST_F(ExtensionPortTest, AConnectionThatHasEndedIsMadeAnewOnce) {
  post(1, "a:");
  run();
  ports_.failSends(RemoteMessagePort::kIsInvalid);
  post(1, "b:");
  run();
  EXPECT_EQ(renewed_, 1);
  EXPECT_EQ(gone_, 0);
  post(1, "c:");
  run();
  EXPECT_EQ(gone_, 1) << "a connection that takes nothing is not made again";
}

TEST_F(ExtensionPortTest, WhatDoesNotGoOutInTimeIsTriedAgain) {
  ports_.failSends(RemoteMessagePort::kSendTimeout);
  post(1, "a:");
  post(1, "b:");
  run();
  EXPECT_EQ(sent(), Texts{"a:"});
  EXPECT_EQ(port_->waiting(), 2U);
  EXPECT_EQ(events_.linesWith("log "),
            Texts{"log port g.Sync.1: the extension does not read, trying again"});
  ports_.failSends(RemoteMessagePort::kSuccess);
  ASSERT_TRUE(loop_.runUntil(
      [&] {
        manual_.runAll();
        return port_->waiting() == 0;
      },
      std::chrono::seconds(20)));
  EXPECT_EQ(sent(), (Texts{"a:", "a:", "b:"}));
  EXPECT_EQ(gone_ + renewed_, 0);
}

TEST_F(ExtensionPortTest, AnotherFaultCostsTheMessageOnly) {
  ports_.failSends(RemoteMessagePort::kTransportError);
  post(1, "a:");
  run();
  ports_.failSends(RemoteMessagePort::kSuccess);
  post(1, "b:");
  run();
  EXPECT_EQ(sent(), (Texts{"a:", "b:"}));
  EXPECT_EQ(events_.count("log "), 1U);
}

}  // namespace
}  // namespace kelpie::agent
