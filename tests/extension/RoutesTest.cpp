#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/ControllerRoutes.h"
#include "extension/RepositoryRoutes.h"
#include "extension/RepositoryTable.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

// Every selector, with every class of argument.
class EveryRoute : public ControllerFixture {
 protected:
  void SetUp() override {
    startWithApplication();
    root = openRepository("/disk/repo");
    file = fakes.files->addFile("/disk/repo/file");
    const auto item = std::make_shared<const MenuItem>("Item", "stage:");
    arguments = {
        Object(),
        true,
        0,
        -1,
        std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(),
        "text",
        Bytes{1, 2, 3},
        Object::date(5),
        *file,
        *URL::fromString("https://host/path"),
        Objects{},
        Objects{Object(5), Object("x"), Object(*file), Object(Objects{}), Object(Dictionary{})},
        Object::set({Object(*root), Object(7)}),
        Dictionary{},
        Dictionary{{5, 6}, {"urls", Objects{5, *file}}, {"badge", 5}, {*file, Objects{}}},
        Dictionary{{"KPRepositoryStatus", 5},
                   {"KPStatusDirtyURLs", "text"},
                   {"KPStatusObservedPathsForRenamedItems", Objects{1}}},
        Error{"domain", 1, Object()},
        std::shared_ptr<const Archivable>(item)};
  }

  std::optional<URL> root;
  std::optional<URL> file;
  std::vector<Object> arguments;
};

TEST_F(EveryRoute, OfTheControllerTakesAnyArgumentAndTheNextMessageIsServed) {
  for (const std::string_view selector : controllerRoutes().selectors()) {
    for (const Object& argument : arguments) {
      controller->setTargetURLs(std::vector<URL>{*file});
      try {
        handle(selector, argument);
      } catch (const std::invalid_argument&) {
        // A message that would have held nothing.
      }
      fakes.runAll();
    }
    controller->setApplicationPid(-1);
    launchApplication();
    controller->setPortName("port");
    controller->updateApplicationRunning();
    openRepository("/disk/repo");
    EXPECT_EQ(controller->repositories().size(), 1U) << selector;
    fakes.messagePorts.forgetSent();
    handle("quit:", 1);
    EXPECT_EQ(sent().size(), 1U) << selector;
  }
}

TEST_F(EveryRoute, OfARepositoryTakesAnyArgumentAndTheNextMessageIsServed) {
  const FileIdentifier target = identifierOf(*root);
  for (const std::string_view selector : repositoryRoutes().selectors()) {
    for (const Object& argument : arguments) {
      handle(selector, argument, target);
      fakes.runAll();
    }
    handle("setState:", 42, target);
    EXPECT_EQ(repositoryOf(*root)->state(), 42) << selector;
    fakes.finder.forgetBadges();
    handle("updateBadges:", Dictionary{{"urls", Objects{*file}}, {"badge", "B"}}, target);
    EXPECT_EQ(fakes.finder.badgeFor("/disk/repo/file"), "B") << selector;
  }
}

}  // namespace
}  // namespace kelpie
