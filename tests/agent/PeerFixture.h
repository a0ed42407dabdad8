#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "agent/FakeNotifier.h"
#include "agent/ProtocolPeer.h"
#include "agent/git/GitSandbox.h"
#include "agent/link/ActionHandler.h"
#include "agent/link/ExtensionPorts.h"
#include "agent/sessions/RepositoryRegistry.h"
#include "agent/watch/DirectoryWatcher.h"
#include "foundation/Dictionary.h"
#include "linux/base/MainLoop.h"
#include "linux/base/ThreadPool.h"
#include "platform/linux/LinuxFileSystem.h"
#include "platform/linux/LinuxSerialQueues.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/FakeMessagePorts.h"

namespace kelpie::agent {

// The main application's end of the link with everything behind it, real but for the ports: the
// other ends of these are the test. Real git works on the repositories of `sandbox_`.
class PeerFixture : public testing::Test {
 protected:
  static constexpr const char* kPort = "g.Sync.11";
  static constexpr const char* kOtherPort = "g.Sync.12";

  PeerFixture();
  ~PeerFixture() override;

  // The application as it starts. `git` is the program that it uses.
  void start(const std::string& git = "git", std::size_t maximumWatches = 10000,
             std::chrono::milliseconds idleTime = std::chrono::minutes(10),
             std::size_t neighbours = 200);

  // Runs the main loop until `done` holds, for at most 20 seconds.
  bool waitFor(const std::function<bool()>& done);
  // Runs the main loop until nothing is left to do, as far as that can be told: every reading and
  // sending has ended, and nothing new comes for a while.
  void settle();

  // -- The extension ------------------------------------------------------------------------------

  // Sends a selector message as the extension with that port.
  void send(std::string_view selector, const Object& argument, const std::string& port = kPort);
  // Asks to open a folder, relative to the sandbox.
  void open(std::string_view folder, bool shallow = false, const std::string& port = kPort);
  FileIdentifier identifierOf(std::string_view folder) const;
  // The selectors of what the extension was sent, in order.
  std::vector<std::string> selectors(const std::string& port = kPort) const;
  std::size_t count(std::string_view selector, const std::string& port = kPort) const;
  // Waits until so many messages with that selector have come.
  bool waitForCount(std::string_view selector, std::size_t count, const std::string& port = kPort);
  // The argument of the last message with that selector; nil when there was none.
  Object last(std::string_view selector, const std::string& port = kPort) const;
  // The whole last message with that selector.
  Object lastMessage(std::string_view selector, const std::string& port = kPort) const;
  // The status word of an item in the last status; 0 when it is not mentioned.
  std::uint16_t word(std::string_view item, const std::string& port = kPort) const;

  // -- What was asked of the others ---------------------------------------------------------------

  struct Handler final : ActionHandler {
    void handle(const Object& message, const RepositorySession* session) override {
      messages.push_back(message);
      sessions.push_back(session);
    }
    std::vector<Object> messages;
    std::vector<const RepositorySession*> sessions;
  };

  GitSandbox sandbox_;
  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  FakeMessagePorts ports_{events_, loop_.queue()};
  LinuxFileSystem files_;
  FakeNotifier notifier_;
  Handler actions_;
  std::unique_ptr<DirectoryWatcher> watcher_;
  DirectoryWatcher names_{10000};
  std::unique_ptr<MainLoop::Source> watching_;
  std::unique_ptr<MainLoop::Source> watchingNames_;
  ThreadPool pool_{log_, 4};
  LinuxSerialQueues queues_{loop_, pool_};
  std::unique_ptr<ExtensionPorts> extensions_;
  std::unique_ptr<RepositoryRegistry> registry_;
  std::unique_ptr<ExtensionErrors> errors_;
  std::unique_ptr<ProtocolPeer> peer_;
};

}  // namespace kelpie::agent
