#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "macos/MainLoop.h"
#include "macos/TestPlatform.h"
#include "platform/contract/FileSystemContract.h"
#include "platform/contract/MessagePortContract.h"
#include "platform/contract/NotificationContract.h"
#include "platform/contract/ProcessMonitorContract.h"
#include "platform/contract/SerialQueuesContract.h"
#include "platform/contract/UserDefaultsContract.h"
#include "platform/macos/MacFileSystem.h"
#include "platform/macos/MacMessagePorts.h"
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

// A name that no other test has.
std::string newName(std::string_view which = "") {
  static int count = 0;
  return "org.kelpie.tests." + std::to_string(getpid()) + "." + std::to_string(++count) +
         std::string(which);
}

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
  const std::string suite_ = newName();
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

// A port as any other program has it, which notes what comes to it as "ID TEXT". Main thread.
class ListeningPort {
 public:
  ListeningPort(const std::string& name, std::vector<std::string>& arrived) : arrived_(arrived) {
    CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
    port_ = CFRetained<CFMessagePortRef>::adopt(CFMessagePortCreateLocal(
        nullptr, cfOf<CFStringRef>(nsString(name)), &receive, &context, nullptr));
    source_ = CFRetained<CFRunLoopSourceRef>::adopt(
        CFMessagePortCreateRunLoopSource(nullptr, port_.get(), 0));
    CFRunLoopAddSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
  }
  ~ListeningPort() { CFMessagePortInvalidate(port_.get()); }
  ListeningPort(const ListeningPort&) = delete;
  ListeningPort& operator=(const ListeningPort&) = delete;

 private:
  static CFDataRef receive(CFMessagePortRef /*port*/, SInt32 id, CFDataRef data, void* self) {
    const Bytes bytes = bytesOfData(static_cast<NSData*>(objectOfCF(data)));
    static_cast<ListeningPort*>(self)->arrived_.push_back(std::to_string(id) + " " +
                                                          std::string(bytes.begin(), bytes.end()));
    return nullptr;
  }

  std::vector<std::string>& arrived_;
  CFRetained<CFMessagePortRef> port_;
  CFRetained<CFRunLoopSourceRef> source_;
};

// Nor does it tell what this process sends from what another one does. Between two: ProcessPorts.
class MacMessagePortWorld final : public MessagePortWorld {
 public:
  MessagePorts& ports() override { return ports_; }
  std::string name(std::string_view which) const override { return prefix_ + std::string(which); }
  void deliver(const std::string& port, std::int32_t id, const Bytes& message) override {
    @autoreleasepool {
      const auto remote = CFRetained<CFMessagePortRef>::adopt(
          CFMessagePortCreateRemote(nullptr, cfOf<CFStringRef>(nsString(port))));
      if (!remote) return;
      constexpr CFTimeInterval kSendLimit = 10;
      EXPECT_EQ(CFMessagePortSendRequest(remote.get(), id, cfOf<CFDataRef>(nsData(message)),
                                         kSendLimit, kSendLimit, nullptr, nullptr),
                kCFMessagePortSuccess);
    }
  }
  void listen(const std::string& port) override {
    listening_[port] = std::make_unique<ListeningPort>(port, arrived_);
  }
  void stopListening(const std::string& port) override { listening_.erase(port); }
  // A send before the system has told fails as well, but not as one to a port that is gone.
  bool tellsAtOnceThatAPortIsGone() const override { return false; }
  std::vector<std::string> arrived() override { return arrived_; }
  bool runUntil(const std::function<bool()>& condition) override {
    return kelpie::runUntil(condition);
  }

 private:
  const std::string prefix_ = newName(".");
  MacMessagePorts ports_;
  std::vector<std::string> arrived_;
  std::map<std::string, std::unique_ptr<ListeningPort>> listening_;
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
INSTANTIATE_TEST_SUITE_P(Mac, MessagePortContract,
                         testing::Values([]() -> std::unique_ptr<MessagePortWorld> {
                           return std::make_unique<MacMessagePortWorld>();
                         }));
INSTANTIATE_TEST_SUITE_P(Mac, ProcessMonitorContract,
                         testing::Values([]() -> std::unique_ptr<ProcessMonitorWorld> {
                           return std::make_unique<MacProcessMonitorWorld>();
                         }));

}  // namespace
}  // namespace kelpie
