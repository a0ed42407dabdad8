#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "macos/MainLoop.h"
#include "macos/TestPlatform.h"
#include "platform/contract/FileSystemContract.h"
#include "platform/contract/NotificationContract.h"
#include "platform/contract/ProcessMonitorContract.h"
#include "platform/contract/SerialQueuesContract.h"
#include "platform/contract/UserDefaultsContract.h"
#include "platform/macos/MacFileSystem.h"
#include "platform/macos/MacNotificationCenter.h"
#include "platform/macos/MacProcessMonitors.h"
#include "platform/macos/MacSerialQueues.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "support/TemporaryFolder.h"

// The macOS platform, held to what the fakes are held to.
namespace kelpie {
namespace {

class MacFileSystemWorld final : public FileSystemWorld {
 public:
  const FileSystem& files() const override { return files_; }
  std::string path(std::string_view name) const override { return folder_ / name; }
  void addFile(std::string_view name) override { folder_.addFile(name); }
  void addFolder(std::string_view name) override { folder_.addFolder(name); }
  void addLink(std::string_view name, std::string_view target) override {
    folder_.addLink(name, target);
  }
  void move(std::string_view from, std::string_view to) override {
    std::filesystem::rename(path(from), path(to));
  }
  void remove(std::string_view name) override { std::filesystem::remove_all(path(name)); }

 private:
  TemporaryFolder folder_;
  MacFileSystem files_;
};

class MacSerialQueuesWorld final : public SerialQueuesWorld {
 public:
  SerialQueues& queues() override { return queues_; }
  bool runUntil(const std::function<bool()>& condition) override {
    return kelpie::runUntil(condition);
  }

 private:
  MacSerialQueues queues_;
};

class MacUserDefaultsWorld final : public UserDefaultsWorld {
 public:
  ~MacUserDefaultsWorld() override { removeSettings(nsString(suite_)); }
  UserDefaults& defaults() override { return *defaults_; }
  void changeFromOutside(std::string_view key, const Object& value) override {
    @autoreleasepool {
      storeElsewhere(nsString(suite_), nsString(key), nsObject(value));
    }
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return kelpie::runUntil(condition);
  }

 private:
  // A suite that no other test has.
  static std::string newSuite() {
    static int count = 0;
    return "org.kelpie.tests." + std::to_string(getpid()) + "." + std::to_string(++count);
  }

  const std::string suite_ = newSuite();
  const std::unique_ptr<UserDefaults> defaults_ =
      MacUserDefaultsCenter().defaultsWithSuiteName(suite_);
};

// The system does not tell what this process posts from what another one does.
class MacNotificationWorld final : public NotificationWorld {
 public:
  DistributedNotificationCenter& center() override { return center_; }
  void postFromOutside(std::string_view name, std::string_view object) override {
    [[NSDistributedNotificationCenter defaultCenter] postNotificationName:nsString(name)
                                                                   object:nsString(object)
                                                                 userInfo:nil
                                                       deliverImmediately:YES];
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return kelpie::runUntil(condition);
  }

 private:
  MacNotificationCenter center_;
};

class MacProcessMonitorWorld final : public ProcessMonitorWorld {
 public:
  MacProcessMonitorWorld() : child_(fork()) {
    if (child_ == 0)
      for (;;) pause();
  }
  ~MacProcessMonitorWorld() override { endAndForget(); }
  ProcessMonitors& monitors() override { return monitors_; }
  std::int32_t pid() const override { return child_; }
  void end() override { endAndForget(); }
  bool runUntil(const std::function<bool()>& condition) override {
    return kelpie::runUntil(condition);
  }

 private:
  void endAndForget() {
    if (isGone_) return;
    isGone_ = true;
    kill(child_, SIGKILL);
    EXPECT_EQ(waitpid(child_, nullptr, 0), child_);
  }

  MacProcessMonitors monitors_;
  const pid_t child_;
  bool isGone_ = false;
};

INSTANTIATE_TEST_SUITE_P(Mac, FileSystemContract,
                         testing::Values([]() -> std::unique_ptr<FileSystemWorld> {
                           return std::make_unique<MacFileSystemWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Mac, SerialQueuesContract,
                         testing::Values([]() -> std::unique_ptr<SerialQueuesWorld> {
                           return std::make_unique<MacSerialQueuesWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Mac, UserDefaultsContract,
                         testing::Values([]() -> std::unique_ptr<UserDefaultsWorld> {
                           return std::make_unique<MacUserDefaultsWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Mac, NotificationContract,
                         testing::Values([]() -> std::unique_ptr<NotificationWorld> {
                           return std::make_unique<MacNotificationWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Mac, ProcessMonitorContract,
                         testing::Values([]() -> std::unique_ptr<ProcessMonitorWorld> {
                           return std::make_unique<MacProcessMonitorWorld>();
                         }));

}  // namespace
}  // namespace kelpie
