#include "e2e/ProcessHost.h"

#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "Configuration.h"
#include "TestPaths.h"
#include "support/linux/TestSocket.h"

namespace kelpie {
namespace {

// How often a condition that no event tells of is looked at.
constexpr std::chrono::milliseconds kLook(2);
constexpr std::chrono::milliseconds kMoment(20);

// Wakes the main loop again and again while it lives.
class Ticks {
 public:
  explicit Ticks(MainLoop& loop) : loop_(loop) { next(); }

 private:
  void next() {
    timer_ = loop_.callAfter(kLook, [this] { next(); });
  }

  MainLoop& loop_;
  std::unique_ptr<EventLoop::Timer> timer_;
};

}  // namespace

ProcessHost::ProcessHost()
    : runtime_(session_ / "kelpie"),
      environment_{{"HOME", home_.path()},
                   {"XDG_CONFIG_HOME", home_ / ".config"},
                   {"XDG_DATA_HOME", home_ / ".local/share"},
                   {"XDG_RUNTIME_DIR", session_.path()},
                   {"DISPLAY", std::nullopt},
                   {"WAYLAND_DISPLAY", std::nullopt},
                   {"DBUS_SESSION_BUS_ADDRESS", std::nullopt}},
      bus_(std::make_unique<PrivateBus>(environment_)) {
  setVariable("DBUS_SESSION_BUS_ADDRESS", bus_->address());
}

DefaultsFile ProcessHost::sharedDefaults() const {
  return DefaultsFile((home_ / ".config/kelpie/").append(kApplicationGroup).append(".plist"));
}

void ProcessHost::restartBus() {
  bus_->end();
  bus_ = std::make_unique<PrivateBus>(environment_);
  setVariable("DBUS_SESSION_BUS_ADDRESS", bus_->address());
}

void ProcessHost::removeBusFromEnvironment() {
  setVariable("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
}

void ProcessHost::setVariable(const std::string& name, std::optional<std::string> value) {
  environment_[name] = std::move(value);
}

std::string ProcessHost::program(const std::string& name) {
  return std::string(KELPIE_BUILD_DIR "/bin/").append(name);
}

std::unique_ptr<ChildProcess> ProcessHost::start(const std::string& name,
                                                 const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {program(name)};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<ChildProcess>(command, environment_);
}

std::unique_ptr<ChildProcess> ProcessHost::startSync() {
  auto sync = start("kelpie-sync");
  EXPECT_TRUE(waitForSocket(runtime_.finderSocket())) << sync->errors();
  return sync;
}

std::string ProcessHost::portNameOf(const ChildProcess& sync) {
  return std::string(kApplicationGroup).append(".Sync.").append(std::to_string(sync.pid()));
}

bool ProcessHost::waitUntil(const std::function<bool()>& done) {
  const Ticks ticks(loop_);
  return loop_.runUntil(done, ChildProcess::kLongEnough);
}

void ProcessHost::letTimePass() {
  loop_.runUntil([] { return false; }, kMoment);
}

bool ProcessHost::waitForSocket(const std::string& path) {
  return waitUntil([&] { return static_cast<bool>(TestSocket::connect(path)); });
}

}  // namespace kelpie
