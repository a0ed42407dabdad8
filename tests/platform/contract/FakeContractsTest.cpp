#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/contract/FileSystemContract.h"
#include "platform/contract/MessagePortContract.h"
#include "platform/contract/NotificationContract.h"
#include "platform/contract/ProcessMonitorContract.h"
#include "platform/contract/SerialQueuesContract.h"
#include "platform/contract/UserDefaultsContract.h"
#include "support/FakePlatform.h"
#include "support/ThreadedQueues.h"

// The fakes, held to what the platforms are held to.
namespace kelpie {
namespace {

class FakeFileSystemWorld final : public FileSystemWorld {
 public:
  explicit FakeFileSystemWorld(bool referencesFollow) {
    files_.setReferencesFollow(referencesFollow);
    files_.addFolder("/folder");
  }
  const FileSystem& files() const override { return files_; }
  std::string path(std::string_view name) const override { return "/folder/" + std::string(name); }
  void addFile(std::string_view name) override { files_.addFile(path(name)); }
  void addFolder(std::string_view name) override { files_.addFolder(path(name)); }
  void addLink(std::string_view name, std::string_view target) override {
    files_.addLink(path(name), target);
  }
  void move(std::string_view from, std::string_view to) override {
    files_.move(path(from), path(to));
  }
  void remove(std::string_view name) override { files_.remove(path(name)); }

 private:
  EventLog events_;
  FakeFileSystem files_{events_};
};

class ManualQueuesWorld final : public SerialQueuesWorld {
 public:
  SerialQueues& queues() override { return queues_; }
  bool runUntil(const std::function<bool()>& condition) override {
    queues_.runAll();
    return condition();
  }

 private:
  EventLog events_;
  ManualQueues queues_{events_};
};

class ThreadedQueuesWorld final : public SerialQueuesWorld {
 public:
  SerialQueues& queues() override { return queues_; }
  bool runUntil(const std::function<bool()>& condition) override {
    queues_.waitUntilIdle();
    return condition();
  }

 private:
  ThreadedQueues queues_;
};

class FakeUserDefaultsWorld final : public UserDefaultsWorld {
 public:
  UserDefaults& defaults() override { return defaults_; }
  void changeFromOutside(std::string_view key, const Object& value) override {
    defaults_.changeFromOutside(key, value);
  }
  bool runUntil(const std::function<bool()>& condition) override { return condition(); }

 private:
  EventLog events_;
  FakeUserDefaults defaults_{"suite", events_};
};

class FakeNotificationWorld final : public NotificationWorld {
 public:
  DistributedNotificationCenter& center() override { return platform_.notifications; }
  void postFromOutside(std::string_view name, std::string_view object) override {
    platform_.notifications.deliver(name, object);
  }
  bool runUntil(const std::function<bool()>& condition) override {
    platform_.runAll();
    return condition();
  }

 private:
  FakePlatform platform_;
};

class FakeProcessMonitorWorld final : public ProcessMonitorWorld {
 public:
  ProcessMonitors& monitors() override { return platform_.processMonitors; }
  std::int32_t pid() const override { return 123; }
  void end() override {
    platform_.processMonitors.setGone(pid());
    platform_.processMonitors.fire(pid());
  }
  bool runUntil(const std::function<bool()>& condition) override {
    platform_.runAll();
    return condition();
  }

 private:
  FakePlatform platform_;
};

class FakeMessagePortWorld final : public MessagePortWorld {
 public:
  MessagePorts& ports() override { return platform_.messagePorts; }
  std::string name(std::string_view which) const override { return std::string(which); }
  void deliver(const std::string& port, std::int32_t id, const Bytes& message) override {
    platform_.messagePorts.deliver(port, id, message);
  }
  void listen(const std::string& port) override { platform_.messagePorts.setListening(port, true); }
  void stopListening(const std::string& port) override {
    platform_.messagePorts.setListening(port, false);
  }
  std::vector<std::string> arrived() override {
    std::vector<std::string> texts;
    for (const FakeMessagePorts::SentMessage& message : platform_.messagePorts.sent())
      if (message.status == RemoteMessagePort::kSuccess)
        texts.push_back(std::to_string(message.id) + " " +
                        std::string(message.bytes.begin(), message.bytes.end()));
    return texts;
  }
  bool runUntil(const std::function<bool()>& condition) override {
    platform_.runAll();
    return condition();
  }

 private:
  FakePlatform platform_;
};

INSTANTIATE_TEST_SUITE_P(FakeWithPaths, FileSystemContract,
                         testing::Values([]() -> std::unique_ptr<FileSystemWorld> {
                           return std::make_unique<FakeFileSystemWorld>(false);
                         }));
INSTANTIATE_TEST_SUITE_P(FakeWithReferences, FileSystemContract,
                         testing::Values([]() -> std::unique_ptr<FileSystemWorld> {
                           return std::make_unique<FakeFileSystemWorld>(true);
                         }));
INSTANTIATE_TEST_SUITE_P(Manual, SerialQueuesContract,
                         testing::Values([]() -> std::unique_ptr<SerialQueuesWorld> {
                           return std::make_unique<ManualQueuesWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Threaded, SerialQueuesContract,
                         testing::Values([]() -> std::unique_ptr<SerialQueuesWorld> {
                           return std::make_unique<ThreadedQueuesWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Fake, UserDefaultsContract,
                         testing::Values([]() -> std::unique_ptr<UserDefaultsWorld> {
                           return std::make_unique<FakeUserDefaultsWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Fake, NotificationContract,
                         testing::Values([]() -> std::unique_ptr<NotificationWorld> {
                           return std::make_unique<FakeNotificationWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Fake, ProcessMonitorContract,
                         testing::Values([]() -> std::unique_ptr<ProcessMonitorWorld> {
                           return std::make_unique<FakeProcessMonitorWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Fake, MessagePortContract,
                         testing::Values([]() -> std::unique_ptr<MessagePortWorld> {
                           return std::make_unique<FakeMessagePortWorld>();
                         }));

}  // namespace
}  // namespace kelpie
