#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "foundation/Dictionary.h"
#include "protocol/MessageKeys.h"
#include "settings/KPUserDefaults.h"
#include "support/FakePlatform.h"

namespace kelpie {

// A controller on the fakes, and the main application that it talks to.
class ControllerFixture : public testing::Test {
 protected:
  static constexpr std::string_view kApplicationPort = "group.org.kelpie.App";
  static constexpr std::string_view kReceivingPort = "group.org.kelpie.Sync.4242";
  static constexpr std::int32_t kPid = 700;

  using Lines = std::vector<std::string>;
  using Message = FakeMessagePorts::SentMessage;

  // Makes the controller with whatever the fakes hold by now.
  KPKelpieSync& start();
  // The main application runs, with this version in the settings, and listens.
  void launchApplication(std::string_view version = "1", std::int32_t pid = kPid);
  // Starts, with the application running and the first messages forgotten.
  KPKelpieSync& startWithApplication();
  // The application's process ends, and its port with it.
  void quitApplication(std::int32_t pid = kPid);

  // A message as the main application sends it, to the receiving port; runs all queues dry.
  void deliver(std::string_view selector, const Object& argument, const Object& target = Object());
  // The same, without the port and the queues.
  void handle(std::string_view selector, const Object& argument, const Object& target = Object());
  // Makes a repository of the folder, which is made with a ".git" folder in it, and runs all
  // queues dry. Its URL.
  URL openRepository(std::string_view path);
  // Hands the folders to the file manager, as if the user had chosen them.
  void chooseFolders(const std::vector<std::string>& paths);

  // The messages sent since they were last forgotten.
  std::vector<Message> sent() const { return fakes.messagePorts.sent(); }
  std::vector<Message> sentWith(std::string_view selector) const;
  // The texts of the "KPAppMessage" notifications.
  std::vector<std::string> appMessages() const;
  FileIdentifier identifierOf(const URL& url) const { return *url.identifier(*fakes.files); }
  std::shared_ptr<KPRepository> repositoryOf(const URL& url) const;

  FakePlatform fakes;
  std::unique_ptr<KPUserDefaults> defaults;
  std::unique_ptr<KPKelpieSync> controller;
};

}  // namespace kelpie
