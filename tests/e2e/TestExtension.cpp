#include "e2e/TestExtension.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

#include "Configuration.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"

namespace kelpie {
namespace {

std::string applicationPort() { return std::string(kApplicationGroup).append(".App"); }

}  // namespace

TestExtension::TestExtension(ProcessHost& processes)
    : processes_(processes),
      bus_(SessionBus::connectTo(processes.bus().address()).bus),
      ports_(processes.loop(), processes.runtime().portsFolder()),
      notifications_(bus_.get(), processes.log()),
      portName_(std::string(kApplicationGroup).append(".Sync.").append(std::to_string(getpid()))) {
  EXPECT_EQ(processes.runtime().prepare(), std::nullopt);
  port_ = ports_.createLocal(
      portName_,
      [this](std::int32_t id, const std::shared_ptr<const Bytes>& bytes, const auto& done) {
        EXPECT_EQ(id, kExtensionMessage);
        received_.push_back(KeyedUnarchiver::unarchiveObject(*bytes));
        done();
      });
  EXPECT_TRUE(port_);
  observation_ =
      notifications_.addObserver(kApplicationRunningNotification, [this](const std::string&) {
        if (++announcements_ > 1) return;
        settings_ = processes_.sharedDefaults().read().values;
        couldConnect_ = ports_.createRemote(applicationPort()) != nullptr;
      });
}

bool TestExtension::waitForAnnouncement(int number) {
  return processes_.waitUntil([&] { return announcements_ >= number; });
}

bool TestExtension::send(const std::string& selector, const Object& argument) {
  const auto application = ports_.createRemote(applicationPort());
  if (application == nullptr) return false;
  const Bytes message = KeyedArchiver::archivedData(Dictionary{{kMessageSelectorKey, selector},
                                                               {kMessageArgumentKey, argument},
                                                               {kMessagePortNameKey, portName_}})
                            .value();
  const std::chrono::milliseconds limit = ChildProcess::kLongEnough;
  return application->send(kApplicationMessage, message, limit, limit) ==
         RemoteMessagePort::kSuccess;
}

bool TestExtension::open(const std::string& folder, bool shallow) {
  return send("openRepository:portName:",
              Dictionary{{"url", URL::fileURLWithPath(folder)}, {"shallow", shallow}});
}

Object TestExtension::waitFor(const std::string& selector) {
  Object found;
  processes_.waitUntil([&] {
    const auto message = std::ranges::find_if(received_, [&](const Object& each) {
      return each[kMessageSelectorKey].stringValue() == selector;
    });
    if (message == received_.end()) return false;
    found = *message;
    received_.erase(message);
    return true;
  });
  if (found.isNil()) ADD_FAILURE() << "no message " << selector;
  return found;
}

}  // namespace kelpie
