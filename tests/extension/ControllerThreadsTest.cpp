#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "extension/KPKelpieSync.h"
#include "foundation/MenuItem.h"
#include "protocol/MessageKeys.h"
#include "settings/KPUserDefaults.h"
#include "support/FakePlatform.h"
#include "support/ThreadedQueues.h"

namespace kelpie {
namespace {

constexpr int kRounds = 150;

class ControllerThreads : public testing::Test {
 protected:
  // Runs on the main thread and waits for it.
  void onMain(const std::function<void()>& work) {
    std::promise<void> done;
    queues.mainQueue()->post([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }

  void deliver(std::string_view selector, const Object& argument, const Object& target) {
    fakes.messagePorts.deliver("group.org.kelpie.Sync.4242", kExtensionMessage,
                               Dictionary{{kMessageSelectorKey, selector},
                                          {kMessageArgumentKey, argument},
                                          {kMessageTargetKey, target}});
  }

  void open(const URL& root) {
    deliver("openRepositoryWithUrls:", Objects{root, URL::fileURLWithPath(root.path() + "/.git")},
            0);
  }

  std::string folderPath(std::size_t number) const {
    return "/work/repo" + std::to_string(number % 3) + "/folder" + std::to_string(number % 5);
  }

  // What the file manager does on threads of its own.
  void browse(unsigned seed) {
    std::mt19937 random(seed);
    for (int round = 0; round < kRounds; ++round) {
      const std::string path = folderPath(random());
      const URL folder = URL::fileURLWithPath(path, true);
      controller->beginObservingDirectoryAtURL(folder);
      for (const char* name : {"/a", "/b", "/c"})
        controller->requestBadgeIdentifierForURL(URL::fileURLWithPath(path + name));
      if (random() % 2 == 0) controller->endObservingDirectoryAtURL(folder);
    }
  }

  // What the user and the main application do, on the main thread.
  void work(int round) {
    const std::string root = "/work/repo" + std::to_string(round % 3);
    const URL rootUrl = URL::fileURLWithPath(root, true);
    const URL file = URL::fileURLWithPath(root + "/folder1/a");
    switch (round % 6) {
      case 0:
        open(rootUrl);
        break;
      case 1:
        deliver("setStatusInfo:",
                Dictionary{{"KPRepositoryStatus",
                            Dictionary{{*file.identifier(), Objects{0x0100, file.path()}}}},
                           {"KPStatusDirtyURLs", Objects{file}}},
                *rootUrl.identifier());
        break;
      case 2:
        controller->setTargetURLs(std::vector<URL>{file});
        controller->performAction(MenuItem("Commit", "commit:"));
        break;
      case 3:
        controller->repositoryForURL(file);
        deliver("setAllObservedFiles:", 0, 0);
        break;
      case 4:
        fakes.processMonitors.fire(controller->applicationPid());
        break;
      default:
        controller->updateApplicationRunning();
    }
  }

  ThreadedQueues queues;
  FakePlatform fakes{queues};
  KPUserDefaults defaults{fakes.platform()};
  std::unique_ptr<KPKelpieSync> controller;
};

TEST_F(ControllerThreads, TheFileManagerTheApplicationAndTheUserMeetWithoutARace) {
  for (std::size_t number = 0; number < 15; ++number) {
    for (const char* name : {"/a", "/b", "/c"}) fakes.files->addFile(folderPath(number) + name);
    fakes.files->addFolder("/work/repo" + std::to_string(number % 3) + "/.git");
  }
  const Bytes bookmark = fakes.files->addBookmark("/work");
  fakes.messagePorts.setListening("group.org.kelpie.App", true);
  fakes.groupDefaults().changeFromOutside("KPApplicationVersion", "1");
  fakes.applications.running["org.kelpie.Kelpie"] = {700};
  onMain([&] { controller = KPKelpieSync::create(fakes.platform(), defaults); });

  std::vector<std::thread> threads;
  for (const unsigned seed : {1U, 2U}) threads.emplace_back([this, seed] { browse(seed); });
  threads.emplace_back([&] {
    for (int round = 0; round < kRounds; ++round) {
      const Objects folders = round % 2 == 0 ? Objects{bookmark} : Objects{};
      fakes.groupDefaults().changeFromOutside("KPFoldersPaths", folders);
    }
  });
  for (int round = 0; round < kRounds; ++round) onMain([&] { work(round); });
  for (std::thread& thread : threads) thread.join();
  queues.waitUntilIdle();

  // Whatever happened in between: what is asked for now gets its badge.
  onMain([&] { controller->updateApplicationRunning(); });
  open(URL::fileURLWithPath("/work/repo0", true));
  queues.waitUntilIdle();
  fakes.finder.forgetBadges();
  controller->requestBadgeIdentifierForURL(URL::fileURLWithPath("/work/repo0/folder0/a"));
  queues.waitUntilIdle();
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo0/folder0/a"), "KPCurrentBadge");
  onMain([&] { controller.reset(); });
  queues.waitUntilIdle();
}

}  // namespace
}  // namespace kelpie
