#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/link/ExtensionPort.h"
#include "agent/sessions/ReadingSlots.h"
#include "agent/sessions/RepositorySession.h"
#include "agent/sessions/SessionWorld.h"
#include "archive/KeyedArchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"
#include "support/FakeMessagePorts.h"

namespace kelpie::agent {
namespace {

constexpr const char* kPlace = "/code/r";

// Readings that end when the test says so.
struct HeldStatus final : public StatusReadings {
  int started = 0;
  std::function<void(Result)> done;
  void start(Question /*question*/, std::function<void(Result)> then) override {
    ++started;
    done = std::move(then);
  }
  void cancel() override {}
};

struct HeldReferences final : public ReferencesReadings {
  int started = 0;
  std::function<void(Result)> done;
  void start(std::function<void(Result)> then) override {
    ++started;
    done = std::move(then);
  }
  void cancel() override {}
};

struct BlindWatch final : public WorkingCopyWatch {
  void follow(const StatusSnapshot&, const std::optional<std::vector<std::string>>&) override {}
  void followReferences() override {}
  void setModest(bool) override {}
  bool isComplete() const override { return true; }
};

// A session that reads when the test says so, and one slot for its readings.
class HeldReadingsTest : public testing::Test, protected SessionWorld {
 protected:
  HeldReadingsTest() {
    files_->addFolder(std::string(kPlace) + "/.git");
    ports_.setListening("g.Sync.11", true);
    port_ = std::make_shared<ExtensionPort>(ExtensionPort::Services{loop_, queues_, ports_},
                                            "g.Sync.11", ports_.createRemote("g.Sync.11"),
                                            ExtensionPort::Callbacks{});
    session_ = std::make_unique<RepositorySession>(
        services(
            slots_,
            [this](const SessionServices&, const WorkingCopy&,
                   const std::shared_ptr<const RepositoryMessages>&, WorkingCopyWatch::Callbacks) {
              return SessionParts{status_, references_, std::make_unique<BlindWatch>()};
            }),
        WorkingCopy{kPlace, std::string(kPlace) + "/.git", std::string(kPlace) + "/.git", false},
        *URL::fileURLWithPath(kPlace).identifier(*files_), false, RepositorySession::Callbacks{});
  }

  // Time passes, but not so much that a reading counts as one that does not end.
  void letLanesQueueUp() {
    const auto end = loop_.now() + std::chrono::seconds(3);
    const auto pause = loop_.callAfter(std::chrono::seconds(3), [] {});
    while (loop_.now() < end) loop_.runNextTimer();
  }

  static StatusReadings::Result goodStatus() {
    StatusReadings::Result result;
    result.snapshot = std::make_shared<const StatusSnapshot>(kPlace, RepositoryState::None,
                                                             std::vector<StatusItem>(), true);
    const Dictionary message = {{kMessageSelectorKey, "setStatusInfo:"}};
    result.message =
        std::make_shared<const Bytes>(KeyedArchiver::archivedData(Object(message)).value());
    return result;
  }
  static StatusReadings::Result failure() {
    StatusReadings::Result result;
    result.failure = "fatal: no";
    return result;
  }

  // How many messages the extension has been sent.
  std::size_t told() {
    queues_.runAll();
    return ports_.sent().size();
  }

  FakeMessagePorts ports_{events_, queues_.mainQueue()};
  std::shared_ptr<ReadingSlots> slots_ =
      std::make_shared<ReadingSlots>(loop_, 1, std::chrono::minutes(1));
  std::shared_ptr<HeldStatus> status_ = std::make_shared<HeldStatus>();
  std::shared_ptr<HeldReferences> references_ = std::make_shared<HeldReferences>();
  std::shared_ptr<ExtensionPort> port_;
  std::unique_ptr<RepositorySession> session_;
};

// The slot of the one reading that ends with the session must not go to the other one, which would
// begin in what is left of it.
TEST_F(HeldReadingsTest, ASessionThatEndsWhileOneReadingRunsDoesNotBeginTheOther) {
  session_->open(port_, kPlace, false);
  letLanesQueueUp();
  ASSERT_EQ(status_->started, 1);
  status_->done(goodStatus());
  letLanesQueueUp();
  ASSERT_EQ(references_->started, 1);
  session_->readAgain();
  letLanesQueueUp();
  ASSERT_EQ(status_->started, 1) << "there is one slot";
  session_.reset();
  EXPECT_EQ(status_->started, 1);
  EXPECT_EQ(slots_->running(), 0U);
}

// What changed while nobody looked is known to be so until it has been read, however often somebody
// comes and goes meanwhile, and however often git fails.
TEST_F(HeldReadingsTest, AStatusFromBeforeAChangeThatNobodySawIsNotTold) {
  session_->open(port_, kPlace, true);
  letLanesQueueUp();
  status_->done(goodStatus());
  const std::size_t first = told();
  EXPECT_EQ(first, 2U) << "that it is open, and the status";
  session_->forget(port_->name());
  session_->readAgain();
  session_->open(port_, kPlace, true);
  letLanesQueueUp();
  ASSERT_EQ(status_->started, 2);
  EXPECT_EQ(told(), first);
  session_->forget(port_->name());
  session_->open(port_, kPlace, true);
  EXPECT_EQ(told(), first) << "while it is read";
  status_->done(failure());
  session_->forget(port_->name());
  session_->open(port_, kPlace, true);
  EXPECT_EQ(told(), first) << "after it could not be read";
  letLanesQueueUp();
  ASSERT_EQ(status_->started, 3);
  status_->done(goodStatus());
  EXPECT_EQ(told(), first + 2);
}

}  // namespace
}  // namespace kelpie::agent
