#include "extension/ControllerRoutes.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/FolderTables.h"
#include "extension/Portrait.h"
#include "extension/RepositoryRoutes.h"
#include "extension/RepositoryTable.h"
#include "status/KPBadge.h"
#include "status/ObservedPaths.h"
#include "support/MenuActions.h"

namespace kelpie {
namespace {

// A controller that has been at work, all of which is told apart.
class ControllerRoutes : public ControllerFixture {
 protected:
  void SetUp() override {
    chooseFolders({"/disk"});
    startWithApplication();
    root = openRepository("/disk/repo");
    file = fakes.files->addFile("/disk/repo/file");
    plain = fakes.files->addFolder("/disk/plain");
    fakes.files->addFolder("/disk/other/.git");
    controller->beginObservingDirectoryAtURL(*root);
    fakes.runAll();
    controller->setTargetURLs(std::vector<URL>{*file});
    controller->senderObjects().set("stage:", "left");
    fakes.finder.setDirectoryURLs({URL::fileURLWithPath("/")});
    fakes.finder.forgetBadges();
    fakes.messagePorts.forgetSent();
  }

  static std::string pathsOf(const std::vector<URL>& urls) {
    std::vector<std::string> paths;
    for (const URL& url : urls) paths.push_back(url.path());
    return joinedTexts(paths);
  }

  Portrait portrait() const {
    std::vector<std::string> shown;
    for (const auto& set : controller->allObservedFiles()->sets())
      for (const std::string& path : set->paths()) shown.push_back(path);
    std::vector<std::string> selectors;
    for (const Message& message : sent())
      selectors.push_back(message.content[kMessageSelectorKey].stringValue());
    std::vector<URL> inactive;
    for (const auto& [parent, urls] : controller->folders().inactiveFolders())
      inactive.insert(inactive.end(), urls.begin(), urls.end());
    return {
        {"application", std::to_string(controller->applicationPid())},
        {"receiving port", controller->portName().value_or("none")},
        {"sending port", yesOrNo(controller->port() != nullptr)},
        {"watch", yesOrNo(controller->monitor() != nullptr)},
        {"repositories", std::to_string(controller->repositories().size())},
        {"folders shown", std::to_string(controller->allObservedFiles()->sets().size())},
        {"items shown", joinedTexts(shown)},
        {"folders to ask about again", pathsOf(inactive)},
        {"folders asked about", pathsOf(controller->folders().observedDirectories())},
        {"targets", pathsOf(controller->targetURLs())},
        {"object of stage:", controller->senderObjects().objectForAction("stage:").description()},
        {"folders of the file manager", pathsOf(fakes.finder.directoryURLs())},
        {"badge of the file", fakes.finder.badgeFor("/disk/repo/file").value_or("none")},
        {"sent", joinedTexts(selectors)},
    };
  }

  Portrait changesBy(std::string_view selector, const Object& argument) {
    const Portrait before = portrait();
    handle(selector, argument);
    fakes.runAll();
    return changesOf(before, portrait());
  }

  std::optional<URL> root;
  std::optional<URL> file;
  std::optional<URL> plain;
};

Object fileAt(std::string_view path) { return URL::fileURLWithPath(path); }

struct ControllerEffect {
  std::string_view selector;
  Object argument;
  Portrait changes;
};

void PrintTo(const ControllerEffect& effect, std::ostream* stream) { *stream << effect.selector; }

// One for each operation; what is not told to change must stay.
std::vector<ControllerEffect> controllerEffects() {
  return {
      {"updateApplicationRunning:", Object(), {{"sent", "openRepository:portName: pingPortName:"}}},
      {"setApplicationPid:",
       701,
       {{"application", "701"}, {"sent", "openRepository:portName: pingPortName:"}}},
      {"updateFolders", Object(), {{"folders of the file manager", "/disk"}}},
      {"beginObservingDirectoryAtURL:",
       fileAt("/disk/plain"),
       {{"folders shown", "2"},
        {"folders asked about", "/disk/plain /disk/repo"},
        {"folders to ask about again", "/disk/plain /disk/repo"},
        {"sent", "openRepository:portName:"}}},
      {"endObservingDirectoryAtURL:",
       fileAt("/disk/repo"),
       {{"folders shown", "0"}, {"items shown", ""}}},
      {"requestBadgeIdentifierForURL:",
       fileAt("/disk/repo/file"),
       {{"badge of the file", std::string(KPBadge::kCurrent)}}},
      {"openRepositoryWithUrls:",
       Objects{fileAt("/disk/other"), fileAt("/disk/other/.git")},
       {{"repositories", "2"}}},
      {"setRepositories:", Object(), {{"repositories", "0"}}},
      {"setAllObservedFiles:",
       Dictionary{{"folder", Object::set({Object("/disk/repo/a")})}},
       {{"items shown", "/disk/repo/a"}}},
      {"setInactiveObservedFiles:",
       Dictionary{{"folder", Object::set({fileAt("/disk/plain")})}},
       {{"folders to ask about again", "/disk/plain"}}},
      {"setObservedDirectories:",
       Object::set({fileAt("/disk/plain")}),
       {{"folders asked about", "/disk/plain"}}},
      {"setPort:", 1, {{"sending port", "no"}}},
      {"setSenderObjects:",
       Dictionary{{"stage:", "set"}},
       {{"object of stage:", Object("set").description()}}},
      {"setTargetURLs:", Objects{fileAt("/disk/plain")}, {{"targets", "/disk/plain"}}},
      {"setMonitor:", 1, {{"watch", "no"}}},
      {"setPortName:", "name", {{"receiving port", "name"}}},
  };
}

class EveryControllerOperation : public ControllerRoutes,
                                 public testing::WithParamInterface<ControllerEffect> {};

TEST_P(EveryControllerOperation, ChangesWhatItIsForAndNothingElse) {
  EXPECT_EQ(changesBy(GetParam().selector, GetParam().argument), GetParam().changes);
}

INSTANTIATE_TEST_SUITE_P(Routes, EveryControllerOperation, testing::ValuesIn(controllerEffects()),
                         [](const auto& test) {
                           const std::string_view selector = test.param.selector;
                           return std::string(selector.substr(0, selector.find(':')));
                         });

TEST(ControllerOperations, AreAllTestedForTheirEffect) {
  std::set<std::string_view> tested;
  for (const ControllerEffect& effect : controllerEffects()) tested.insert(effect.selector);
  for (const Route<KPKelpieSync>& route : controllerRoutes().operations)
    EXPECT_EQ(tested.erase(route.selector), 1U) << route.selector;
  EXPECT_TRUE(tested.empty()) << *tested.begin();
}

// What each does is told by ActionForwarderTest.
TEST(ControllerActions, AreAllTestedForTheirEffect) {
  std::set<std::string_view> tested = {"remoteRepositoryAction:"};
  tested.insert(std::begin(kRepositoryActions), std::end(kRepositoryActions));
  tested.insert(std::begin(kApplicationActions), std::end(kApplicationActions));
  tested.insert(std::begin(kCreationActions), std::end(kCreationActions));
  for (const SharedRoute<KPKelpieSync>& action : controllerRoutes().actions)
    for (const std::string_view selector : action.selectors)
      EXPECT_EQ(tested.erase(selector), 1U) << selector;
  EXPECT_TRUE(tested.empty()) << *tested.begin();
}

TEST_F(ControllerRoutes, ANameWithoutEffectChangesNothing) {
  for (const std::string_view name : controllerRoutes().withoutEffect)
    for (const Object& argument : {Object(), Object(1), Object(*file), Object("text")})
      EXPECT_EQ(changesBy(name, argument), Portrait()) << name;
}

// Which of the two is asked first matters only where both know a selector, and none do: were one
// to join both tables, the controller would take it from the repository.
TEST(Routes, OfTheControllerAndOfARepositoryAreDifferent) {
  std::set<std::string_view> seen;
  for (const std::string_view selector : controllerRoutes().selectors())
    EXPECT_TRUE(seen.insert(selector).second) << selector;
  for (const std::string_view selector : repositoryRoutes().selectors())
    EXPECT_TRUE(seen.insert(selector).second) << selector;
}

}  // namespace
}  // namespace kelpie
