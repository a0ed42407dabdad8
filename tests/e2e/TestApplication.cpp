#include "e2e/TestApplication.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Configuration.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "protocol/MessageKeys.h"
#include "settings/SettingsKeys.h"

namespace kelpie {

namespace {

const std::string kPortName = std::string(kApplicationGroup).append(".App");

}  // namespace

TestApplication::TestApplication(ProcessHost& processes, Name name)
    : processes_(processes),
      bus_(SessionBus::connectTo(processes.bus().address()).bus),
      ports_(processes.loop(), processes.runtime().portsFolder()),
      notifications_(bus_.get(), processes.log()) {
  EXPECT_EQ(processes.runtime().prepare(), std::nullopt);
  port_ = ports_.createLocal(
      kPortName,
      [this](std::int32_t id, const std::shared_ptr<const Bytes>& bytes, const auto& done) {
        received_.push_back({id, KeyedUnarchiver::unarchiveObject(*bytes)});
        done();
      });
  EXPECT_TRUE(port_);
  if (name == Name::Own) claimName();
}

void TestApplication::claimName() {
  // The handlers live as long as the name.
  const auto answered = std::make_shared<bool>(false);
  const auto answer = [answered] { *answered = true; };
  name_.emplace(*bus_, std::string(kApplicationIdentifier), BusName::Handlers{answer, answer});
  EXPECT_TRUE(processes_.waitUntil([&] { return *answered; }));
}

void TestApplication::writeVersion(const std::string& version) {
  EXPECT_EQ(processes_.sharedDefaults().update([&](Dictionary& values) {
    values.set(Object(kApplicationVersionKey), Object(version));
    return true;
  }),
            std::nullopt);
}

void TestApplication::announce() {
  notifications_.post(kApplicationRunningNotification, kApplicationIdentifier);
}

std::optional<TestApplication::Received> TestApplication::waitFor(const std::string& selector) {
  std::optional<Received> found;
  processes_.waitUntil([&] {
    while (!found && !received_.empty()) {
      if (received_.front().message[kMessageSelectorKey].stringValue() == selector)
        found = received_.front();
      received_.erase(received_.begin());
    }
    return found.has_value();
  });
  if (!found) ADD_FAILURE() << "no message " << selector;
  return found;
}

// What this sends itself arrives after what was sent before.
std::size_t TestApplication::count(const std::string& selector) {
  const auto countOf = [&](std::string_view wanted) {
    return std::ranges::count_if(received_, [&](const Received& received) {
      return received.message[kMessageSelectorKey].stringValue() == wanted;
    });
  };
  constexpr std::string_view kMarker = "marker";
  send(kPortName, std::string(kMarker), Object(), Object(true));
  EXPECT_TRUE(processes_.waitUntil([&] { return countOf(kMarker) > 0; }));
  std::erase_if(received_, [&](const Received& received) {
    return received.message[kMessageSelectorKey].stringValue() == kMarker;
  });
  return static_cast<std::size_t>(countOf(selector));
}

void TestApplication::send(const std::string& portName, const std::string& selector,
                           const Object& target, const Object& argument) {
  Dictionary message = {{Object(kMessageSelectorKey), Object(selector)},
                        {Object(kMessageArgumentKey), argument}};
  if (!target.isNil()) message.set(Object(kMessageTargetKey), target);
  const auto archive = KeyedArchiver::archivedData(message);
  ASSERT_TRUE(archive);
  auto& port = sendingPorts_[portName];
  if (!port) port = ports_.createRemote(portName);
  ASSERT_TRUE(port) << portName;
  constexpr std::chrono::milliseconds kLimit(10000);
  EXPECT_EQ(port->send(kExtensionMessage, *archive, kLimit, kLimit), RemoteMessagePort::kSuccess);
}

}  // namespace kelpie
