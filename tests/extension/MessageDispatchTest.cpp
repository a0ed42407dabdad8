#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "extension/ControllerFixture.h"
#include "extension/RepositoryTable.h"
#include "refs/KPRefsManager.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

class MessageDispatchTest : public ControllerFixture {
 protected:
  void SetUp() override { startWithApplication(); }

  ManualQueue& observerQueue() {
    return *fakes.queues.withLabel("org.kelpie.Kelpie.Sync.ObserverQueue").front();
  }
  void deliverRaw(std::int32_t id, const Object& content) {
    fakes.messagePorts.deliver(kReceivingPort, id, content);
    fakes.runAll();
  }
};

TEST_F(MessageDispatchTest, OnlySelectorMessagesToTheExtensionAreHandled) {
  const Object quit = Dictionary{{"KPMessageSelector", "quit:"}, {"KPMessageArgument", "x"}};
  for (const std::int32_t id : {0, 1, 3, -1, -2, std::numeric_limits<std::int32_t>::max(),
                                std::numeric_limits<std::int32_t>::min()}) {
    deliverRaw(id, quit);
    EXPECT_TRUE(sent().empty()) << id;
  }
  deliverRaw(2, quit);
  EXPECT_EQ(sent().size(), 1U);
  EXPECT_EQ(fakes.messagePorts.doneMessages(), fakes.messagePorts.handledMessages());
}

TEST_F(MessageDispatchTest, WhatIsNoMessageIsDroppedAndTheNextIsServed) {
  const Bytes valid = KeyedArchiver::archivedData(
                          Dictionary{{"KPMessageSelector", "quit:"}, {"KPMessageArgument", "x"}})
                          .value();
  const std::vector<Bytes> messages = {
      {},
      {0},
      Bytes(1000, 0xff),
      {'b', 'p', 'l', 'i', 's', 't', '0', '0'},
      Bytes(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(valid.size() / 2)),
      KeyedArchiver::archivedData(5).value(),
      KeyedArchiver::archivedData("quit:").value(),
      KeyedArchiver::archivedData(Objects{"KPMessageSelector", "quit:"}).value(),
      KeyedArchiver::archivedData(Dictionary{}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageArgument", "x"}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", 5}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", Objects{"quit:"}}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", Bytes{'q'}}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", "unknown:"}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", ""}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", "quit"}}).value(),
      KeyedArchiver::archivedData(Dictionary{{"KPMessageSelector", std::string("quit:\0", 6)}})
          .value(),
  };
  for (std::size_t index = 0; index < messages.size(); ++index) {
    fakes.messagePorts.forgetSent();
    fakes.messagePorts.deliver(kReceivingPort, 2, messages[index]);
    fakes.runAll();
    EXPECT_TRUE(sent().empty()) << index;
    fakes.messagePorts.deliver(kReceivingPort, 2, valid);
    fakes.runAll();
    EXPECT_EQ(sent().size(), 1U) << index;
  }
  EXPECT_TRUE(appMessages().empty());
  controller->handleSelectorMessage(nullptr);
}

TEST_F(MessageDispatchTest, ADictionaryOfAnyKeysIsRead) {
  deliverRaw(
      2, Dictionary{
             {5, 6}, {Objects{}, "x"}, {"KPMessageSelector", "quit:"}, {"KPMessageArgument", 1}});
  EXPECT_EQ(sent().size(), 1U);
}

TEST_F(MessageDispatchTest, TheControllerComesFirstWhateverTheTargetSays) {
  const URL root = openRepository("/work/repo");
  fakes.events.clear();
  deliver("updateFolders", Object(), identifierOf(root));
  EXPECT_EQ(fakes.events.count("finder.directories"), 1U);
}

TEST_F(MessageDispatchTest, ARepositoryIsFoundByItsIdentifierOnly) {
  const URL first = openRepository("/work/first");
  const URL second = openRepository("/work/second");
  deliver("setState:", 5, identifierOf(second));
  EXPECT_EQ(repositoryOf(first)->state(), 0);
  EXPECT_EQ(repositoryOf(second)->state(), 5);
  for (const Object& target : {Object(), Object("/work/second"), Object(second), Object(5),
                               Object(Bytes{1, 2}), Object(Objects{identifierOf(second)})}) {
    deliver("setState:", 9, target);
    EXPECT_EQ(repositoryOf(first)->state(), 0) << target.description();
    EXPECT_EQ(repositoryOf(second)->state(), 5) << target.description();
  }
}

TEST_F(MessageDispatchTest, ATargetMayBeAnyObjectThatTheFileSystemNamesFilesBy) {
  const URL root = fakes.files->addFolder("/work/repo");
  fakes.files->setIdentifier("/work/repo", "volume 1, file 7");
  deliver("openRepositoryWithUrls:", Objects{root});
  deliver("setState:", 5, "volume 1, file 7");
  ASSERT_NE(repositoryOf(root), nullptr);
  EXPECT_EQ(repositoryOf(root)->state(), 5);
}

TEST_F(MessageDispatchTest, WhatComesForARepositoryThatIsNotOpenIsLost) {
  const URL root = fakes.files->addFolder("/work/repo");
  const FileIdentifier target = identifierOf(root);
  for (const std::string_view selector :
       {"setReferences:", "setStashes:", "setGitflowInfo:", "setBare:", "setHasGitlfs:",
        "setHeadBranch:", "setHasHeadCommit:"}) {
    deliver(selector, true, target);
    deliver(selector, Objects{"x"}, target);
    deliver(selector, Dictionary{{"gitflow.branch.features", Objects{"x"}}}, target);
  }
  openRepository("/work/repo");
  const auto repository = repositoryOf(root);
  ASSERT_NE(repository, nullptr);
  EXPECT_FALSE(repository->refsManager()->isBare());
  EXPECT_FALSE(repository->refsManager()->hasGitlfs());
  EXPECT_FALSE(repository->refsManager()->hasHeadCommit());
  EXPECT_FALSE(repository->refsManager()->hasStashes());
  EXPECT_FALSE(repository->refsManager()->hasRemotes());
  EXPECT_FALSE(repository->refsManager()->hasSubmodules());
  deliver("setHasGitlfs:", true, target);
  EXPECT_TRUE(repository->refsManager()->hasGitlfs());
}

// -- When the next message of a sender is taken ---------------------------------------------------

TEST_F(MessageDispatchTest, AMessageIsDoneWhenItHasBeenHandled) {
  fakes.messagePorts.deliver(kReceivingPort, 2, Dictionary{{"KPMessageSelector", "updateFolders"}});
  fakes.messagePorts.deliver(kReceivingPort, 1, Dictionary{});
  fakes.queues.main().runAll();
  EXPECT_EQ(fakes.messagePorts.doneMessages(), 2U);
}

TEST_F(MessageDispatchTest, AnOpeningIsDoneWhenTheRepositoryIsThere) {
  const URL root = fakes.files->addFolder("/work/repo");
  fakes.messagePorts.deliver(kReceivingPort, 2,
                             Dictionary{{"KPMessageSelector", "openRepositoryWithUrls:"},
                                        {"KPMessageArgument", Objects{root}}});
  fakes.messagePorts.deliver(kReceivingPort, 2,
                             Dictionary{{"KPMessageSelector", "setState:"},
                                        {"KPMessageArgument", 5},
                                        {"KPMessageTarget", identifierOf(root)}});
  fakes.queues.main().runAll();
  EXPECT_EQ(fakes.messagePorts.doneMessages(), 0U) << "and the main thread is free meanwhile";
  EXPECT_EQ(observerQueue().pending(), 2U);
  EXPECT_TRUE(observerQueue().runOne());
  EXPECT_EQ(fakes.messagePorts.doneMessages(), 0U);
  fakes.runAll();
  EXPECT_EQ(fakes.messagePorts.doneMessages(), 2U);
  EXPECT_EQ(repositoryOf(root)->state(), 5);
}

TEST_F(MessageDispatchTest, AnOpeningThatOpensNothingIsDoneAtOnce) {
  fakes.messagePorts.deliver(kReceivingPort, 2,
                             Dictionary{{"KPMessageSelector", "openRepositoryWithUrls:"}});
  fakes.queues.main().runAll();
  EXPECT_EQ(fakes.messagePorts.doneMessages(), 1U);
}

TEST_F(MessageDispatchTest, AMessageThatRaisesIsDoneAsWell) {
  fakes.messagePorts.deliver(kReceivingPort, 2, Dictionary{{"KPMessageSelector", "clone:"}});
  EXPECT_THROW(fakes.queues.main().runAll(), std::invalid_argument);
  EXPECT_EQ(fakes.messagePorts.doneMessages(), 1U);
}

// -- Threads --------------------------------------------------------------------------------------

TEST_F(MessageDispatchTest, TheMainQueueNeverWaitsForTheObserverQueue) {
  // Everything below runs while the observer queue stands still.
  controller->beginObservingDirectoryAtURL(fakes.files->addFolder("/work"));
  fakes.messagePorts.deliver(
      kReceivingPort, 2,
      Dictionary{{"KPMessageSelector", "openRepositoryWithUrls:"},
                 {"KPMessageArgument", Objects{fakes.files->addFolder("/work/repo")}}});
  controller->performAction(MenuItem("Quit", "quit:"));
  fakes.queues.main().runAll();
  controller->setApplicationPid(-1);
  EXPECT_EQ(observerQueue().pending(), 3U);
  EXPECT_EQ(sent().size(), 1U);
}

}  // namespace
}  // namespace kelpie
