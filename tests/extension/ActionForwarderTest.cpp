#include "extension/ActionForwarder.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/ControllerRoutes.h"
#include "foundation/MenuItem.h"
#include "status/KPRepository.h"
#include "support/FakeMenuHost.h"
#include "support/MenuActions.h"

namespace kelpie {
namespace {

class ActionForwarderTest : public ControllerFixture {
 protected:
  void SetUp() override {
    startWithApplication();
    root = openRepository("/work/repo");
    file = fakes.files->addFile("/work/repo/file");
    outside = fakes.files->addFile("/work/outside");
    fakes.messagePorts.forgetSent();
  }

  MenuItem item(std::string_view action, Object object = Object()) const {
    MenuItem result("Title \u2026", std::string(action));
    result.tag = 17;
    result.representedObject = std::move(object);
    return result;
  }

  void target(std::vector<URL> urls) { controller->setTargetURLs(std::move(urls)); }

  std::optional<URL> root;
  std::optional<URL> file;
  std::optional<URL> outside;
};

TEST_F(ActionForwarderTest, EveryRepositoryActionSendsItsItemForTheRepository) {
  EXPECT_EQ(std::size(kRepositoryActions), 55U);
  target({*file});
  for (const std::string_view action : kRepositoryActions) {
    fakes.messagePorts.forgetSent();
    controller->senderObjects().set(action, action);
    EXPECT_TRUE(controller->performAction(item(action))) << action;
    ASSERT_EQ(sent().size(), 1U) << action;
    EXPECT_EQ(sent()[0].id, 0) << action;
    const Object content = sent()[0].content;
    EXPECT_EQ(content.size(), 3U) << action;
    EXPECT_EQ(FileIdentifier::fromObject(content["KPMessageTarget"]), identifierOf(*root))
        << action;
    EXPECT_EQ(content["KPMessagePortName"].stringValue(), kReceivingPort) << action;
    const auto chosen = content["KPMessageSender"].as<MenuItem>();
    ASSERT_NE(chosen, nullptr) << action;
    EXPECT_EQ(chosen->action, action);
    EXPECT_EQ(chosen->title, "Title \u2026") << action;
    EXPECT_EQ(chosen->tag, 17) << action;
    EXPECT_TRUE(chosen->representedObject.isEqual(action)) << action;
  }
}

TEST_F(ActionForwarderTest, EveryApplicationActionSendsItsItemWhateverTheSelection) {
  quitApplication();  // takes the repositories with it
  launchApplication();
  target({});
  for (const std::string_view action : kApplicationActions) {
    fakes.messagePorts.forgetSent();
    controller->senderObjects().set(action, "not for these");
    EXPECT_TRUE(controller->performAction(item(action, "own"))) << action;
    ASSERT_EQ(sent().size(), 1U) << action;
    EXPECT_EQ(sent()[0].id, 0) << action;
    EXPECT_EQ(sent()[0].content.size(), 2U) << action;
    const auto chosen = sent()[0].content["KPMessageSender"].as<MenuItem>();
    ASSERT_NE(chosen, nullptr) << action;
    EXPECT_EQ(chosen->action, action);
    EXPECT_TRUE(chosen->representedObject.isEqual("own")) << action << ": as it is";
  }
}

TEST_F(ActionForwarderTest, CreationRequestsSendTheFirstTarget) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"clone:", "cloneRepositoryWithUrl:portName:"},
      {"createRepository:", "createRepositoryWithUrl:portName:"}};
  for (const auto& [action, selector] : rows) {
    fakes.messagePorts.forgetSent();
    target({fakes.files->addFolder("/plain/folder"), *file});
    EXPECT_TRUE(controller->performAction(item(action))) << action;
    ASSERT_EQ(sent().size(), 1U) << action;
    EXPECT_EQ(sent()[0].id, 1) << action;
    EXPECT_EQ(sent()[0].content.size(), 3U) << action;
    EXPECT_EQ(sent()[0].content["KPMessageSelector"].stringValue(), selector);
    EXPECT_EQ(sent()[0].content["KPMessageArgument"].url().value().path(), "/plain/folder");
    target({});
    EXPECT_THROW(controller->performAction(item(action)), std::invalid_argument) << action;
    EXPECT_EQ(sent().size(), 1U) << action;
  }
}

TEST_F(ActionForwarderTest, WithoutTargetsARepositoryActionSendsNothing) {
  target({});
  EXPECT_TRUE(controller->performAction(item("commit:")));
  EXPECT_TRUE(sent().empty());
  EXPECT_TRUE(appMessages().empty());
}

TEST_F(ActionForwarderTest, OnlyTheFirstTargetCounts) {
  target({*outside, *file});
  EXPECT_TRUE(controller->performAction(item("commit:")));
  EXPECT_TRUE(sent().empty()) << "the first lies outside: dropped without a word";
  target({*file, *outside});
  EXPECT_TRUE(controller->performAction(item("commit:")));
  EXPECT_EQ(sent().size(), 1U);
}

TEST_F(ActionForwarderTest, ItemsOfOneActionShareTheObjectThatWasLeftLast) {
  target({*file});
  controller->senderObjects().set("resolve:", Objects{"first"});
  controller->senderObjects().set("resolve:", Objects{"second"});
  controller->performAction(item("resolve:", "own"));
  controller->performAction(item("resolve:"));
  ASSERT_EQ(sent().size(), 2U);
  for (const Message& message : sent()) {
    const auto chosen = message.content["KPMessageSender"].as<MenuItem>();
    EXPECT_TRUE(chosen->representedObject.isEqual(Objects{"second"}));
  }
}

TEST_F(ActionForwarderTest, WithoutAnObjectLeftTheItemIsSentWithNone) {
  target({*file});
  controller->senderObjects().set("deleteBranches:", "of another action");
  controller->performAction(item("deleteRemoteBranches:", "own"));
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_TRUE(sent()[0].content["KPMessageSender"].as<MenuItem>()->representedObject.isNil());
}

TEST_F(ActionForwarderTest, AnItemThatNamesNoActionDoesNothing) {
  EXPECT_FALSE(controller->performAction(MenuItem("Header")));
  EXPECT_FALSE(controller->performAction(item("noSuchAction:")));
  EXPECT_FALSE(controller->performAction(item("stage")));
  EXPECT_FALSE(controller->performAction(item("")));
  EXPECT_TRUE(sent().empty());
}

TEST_F(ActionForwarderTest, AFailureToSendIsReported) {
  quitApplication();
  controller->performAction(item("quit:"));
  EXPECT_EQ(appMessages().size(), 1U);
}

// -- Actions that a message asks for --------------------------------------------------------------

TEST_F(ActionForwarderTest, AMessageThatNamesAnActionGoesBackOutAsAnActionMessage) {
  target({*file});
  controller->senderObjects().set("stage:", "left");
  const Object sender =
      std::shared_ptr<const Archivable>(std::make_shared<const MenuItem>(item("stage:")));
  handle("quit:", sender);
  handle("diff:", sender);
  ASSERT_EQ(sent().size(), 2U);
  EXPECT_EQ(sent()[0].id, 0);
  EXPECT_NE(sent()[0].content["KPMessageSender"].as<MenuItem>(), nullptr);
  // It looks under the action of the item, not under the one that was asked for.
  EXPECT_TRUE(
      sent()[1].content["KPMessageSender"].as<MenuItem>()->representedObject.isEqual("left"));
}

TEST_F(ActionForwarderTest, AnApplicationActionSendsWhateverTheMessageHolds) {
  handle("quit:", "text");
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_TRUE(sent()[0].content["KPMessageSender"].isEqual("text"));
}

TEST_F(ActionForwarderTest, ActionsWithoutASenderCannotBuildTheirMessage) {
  target({*file});
  EXPECT_THROW(handle("quit:", Object()), std::invalid_argument);
  EXPECT_THROW(handle("stage:", Object()), std::invalid_argument);
  EXPECT_THROW(handle("stage:", "no menu item"), std::invalid_argument);
  EXPECT_THROW(handle("remoteRepositoryAction:", 5), std::invalid_argument);
  EXPECT_TRUE(sent().empty());
  target({*outside});
  EXPECT_NO_THROW(handle("stage:", Object())) << "without a repository it does not come to that";
}

// A repository is matched only while its path has its identifier. Without one there is no match,
// and an action for which there is no repository is dropped without a word.
TEST_F(ActionForwarderTest, NothingIsDoneInARepositoryWhoseIdentifierWasTakenAway) {
  target({*file});
  const std::shared_ptr<KPRepository> repository = repositoryOf(*root);
  handle("setIdentifier:", Object(), identifierOf(*root));
  EXPECT_NO_THROW(EXPECT_TRUE(controller->performAction(item("stage:"))));
  EXPECT_TRUE(sent().empty());
  EXPECT_TRUE(appMessages().empty());
  repository->setIdentifier(identifierOf(*root));
  EXPECT_TRUE(controller->performAction(item("stage:")));
  EXPECT_EQ(sent().size(), 1U) << "with an identifier it can be named again";
}

// Long messages are taken in on the update queue.
TEST_F(ActionForwarderTest, NothingIsDoneWhenTheIdentifierGoesAfterTheLookUp) {
  FakeMenuHost host(fakes.events);
  host.repositories = {repositoryOf(*root)};
  host.setTargetURLs({*file});
  ActionForwarder actions(host, *fakes.files);
  const Object sender =
      std::shared_ptr<const Archivable>(std::make_shared<const MenuItem>(item("stage:")));
  actions.remoteRepositoryAction(sender);
  EXPECT_EQ(host.sent.size(), 1U);
  repositoryOf(*root)->setIdentifier(Object());
  EXPECT_NO_THROW(actions.remoteRepositoryAction(sender));
  EXPECT_EQ(host.sent.size(), 1U);
}

}  // namespace
}  // namespace kelpie
