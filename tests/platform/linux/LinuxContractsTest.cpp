#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/base/MainLoop.h"
#include "linux/base/ThreadPool.h"
#include "platform/contract/FileSystemContract.h"
#include "platform/contract/MessagePortContract.h"
#include "platform/contract/NotificationContract.h"
#include "platform/contract/ProcessMonitorContract.h"
#include "platform/contract/SerialQueuesContract.h"
#include "platform/contract/UserDefaultsContract.h"
#include "platform/linux/DefaultsFile.h"
#include "platform/linux/LinuxFileSystem.h"
#include "platform/linux/LinuxMessagePorts.h"
#include "platform/linux/LinuxNotificationCenter.h"
#include "platform/linux/LinuxProcessMonitors.h"
#include "platform/linux/LinuxSerialQueues.h"
#include "platform/linux/LinuxUserDefaultsCenter.h"
#include "support/EnvironmentVariable.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/TemporaryFolder.h"
#include "support/linux/ChildProcess.h"
#include "support/linux/PrivateBus.h"
#include "support/linux/TestSocket.h"

// The Linux platform, held to what the fakes are held to.
namespace kelpie {
namespace {

// The main loop of a world, which is also what happens on other threads waited for with.
class ContractLoop {
 public:
  MainLoop& loop() { return loop_; }
  Log& log() { return log_; }
  bool runUntil(const std::function<bool()>& condition) {
    constexpr std::chrono::milliseconds kGlance(5);
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (!loop_.runUntil(condition, kGlance))
      if (std::chrono::steady_clock::now() > end) return false;
    return true;
  }

 private:
  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
};

class LinuxFileSystemWorld final : public FileSystemWorld {
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
  LinuxFileSystem files_;
};

class LinuxSerialQueuesWorld final : public SerialQueuesWorld {
 public:
  SerialQueues& queues() override { return queues_; }
  bool runUntil(const std::function<bool()>& condition) override {
    return loop_.runUntil(condition);
  }

 private:
  ContractLoop loop_;
  ThreadPool pool_{loop_.log(), 2};
  LinuxSerialQueues queues_{loop_.loop(), pool_};
};

class LinuxUserDefaultsWorld final : public UserDefaultsWorld {
 public:
  UserDefaults& defaults() override { return *defaults_; }
  void changeFromOutside(std::string_view key, const Object& value) override {
    const auto problem = DefaultsFile::ofSuite(kSuite)->update([&](Dictionary& values) {
      if (value.isNil())
        values.remove(Object(std::string(key)));
      else
        values.set(std::string(key), value);
      return true;
    });
    EXPECT_EQ(problem, std::nullopt);
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return loop_.runUntil(condition);
  }

 private:
  static constexpr const char* kSuite = "group.org.kelpie";

  TemporaryFolder home_;
  EnvironmentVariable variable_{"XDG_CONFIG_HOME", home_.path().c_str()};
  ContractLoop loop_;
  LinuxUserDefaultsCenter center_{loop_.loop(), "org.kelpie.Kelpie.Sync"};
  std::unique_ptr<UserDefaults> defaults_ = center_.defaultsWithSuiteName(kSuite);
};

class LinuxNotificationWorld final : public NotificationWorld {
 public:
  // Once the bus answers, it knows that the center listens.
  LinuxNotificationWorld() {
    EXPECT_TRUE(bus_->callBus("NameHasOwner", "a.b", "(b)", kLongEnough));
  }
  DistributedNotificationCenter& center() override { return center_; }
  void postFromOutside(std::string_view name, std::string_view object) override {
    other_.post(name, object);
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return loop_.runUntil(condition);
  }

 private:
  PrivateBus daemon_;
  ContractLoop loop_;
  std::unique_ptr<SessionBus> bus_ = SessionBus::connectTo(daemon_.address()).bus;
  std::unique_ptr<SessionBus> otherBus_ = SessionBus::connectTo(daemon_.address()).bus;
  LinuxNotificationCenter center_{bus_.get(), loop_.log()};
  LinuxNotificationCenter other_{otherBus_.get(), loop_.log()};
};

class LinuxProcessMonitorWorld final : public ProcessMonitorWorld {
 public:
  ProcessMonitors& monitors() override { return monitors_; }
  std::int32_t pid() const override { return child_.pid(); }
  void end() override {
    child_.signal(SIGKILL);
    EXPECT_TRUE(child_.waitForEnd());
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return loop_.runUntil(condition);
  }

 private:
  ContractLoop loop_;
  LinuxProcessMonitors monitors_{loop_.loop()};
  ChildProcess child_{{"sleep", "1000"}};
};

class LinuxMessagePortWorld final : public MessagePortWorld {
 public:
  MessagePorts& ports() override { return ports_; }
  std::string name(std::string_view which) const override { return std::string(which); }
  void deliver(const std::string& port, std::int32_t id, const Bytes& message) override {
    auto sender = senders_.find(port);
    if (sender == senders_.end())
      sender = senders_.emplace(port, TestSocket::connect(folder_ / port)).first;
    EXPECT_TRUE(sender->second.write(frameBytes(id, std::string(message.begin(), message.end()))));
  }
  void listen(const std::string& port) override {
    listening_[port] = others_.createLocal(port, [this](std::int32_t id,
                                                        const std::shared_ptr<const Bytes>& message,
                                                        const LocalMessagePort::Completion& done) {
      arrived_.push_back(std::to_string(id) + " " + std::string(message->begin(), message->end()));
      done();
    });
  }
  void stopListening(const std::string& port) override { listening_.erase(port); }
  std::vector<std::string> arrived() override { return arrived_; }
  bool runUntil(const std::function<bool()>& condition) override {
    return loop_.runUntil(condition);
  }

 private:
  TemporaryFolder folder_;
  ContractLoop loop_;
  LinuxMessagePorts ports_{loop_.loop(), folder_.path()};
  LinuxMessagePorts others_{loop_.loop(), folder_.path()};
  std::map<std::string, TestSocket> senders_;
  std::map<std::string, std::unique_ptr<LocalMessagePort>> listening_;
  std::vector<std::string> arrived_;
};

INSTANTIATE_TEST_SUITE_P(Linux, FileSystemContract,
                         testing::Values([]() -> std::unique_ptr<FileSystemWorld> {
                           return std::make_unique<LinuxFileSystemWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Linux, SerialQueuesContract,
                         testing::Values([]() -> std::unique_ptr<SerialQueuesWorld> {
                           return std::make_unique<LinuxSerialQueuesWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Linux, UserDefaultsContract,
                         testing::Values([]() -> std::unique_ptr<UserDefaultsWorld> {
                           return std::make_unique<LinuxUserDefaultsWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Linux, NotificationContract,
                         testing::Values([]() -> std::unique_ptr<NotificationWorld> {
                           return std::make_unique<LinuxNotificationWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Linux, ProcessMonitorContract,
                         testing::Values([]() -> std::unique_ptr<ProcessMonitorWorld> {
                           return std::make_unique<LinuxProcessMonitorWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Linux, MessagePortContract,
                         testing::Values([]() -> std::unique_ptr<MessagePortWorld> {
                           return std::make_unique<LinuxMessagePortWorld>();
                         }));

}  // namespace
}  // namespace kelpie
