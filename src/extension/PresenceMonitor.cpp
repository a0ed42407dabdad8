#include "extension/PresenceMonitor.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "extension/FolderRegistry.h"
#include "extension/MessageLink.h"
#include "extension/RootFinder.h"
#include "foundation/Dictionary.h"
#include "foundation/MemoFileSystem.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPBadge.h"

namespace kelpie {

PresenceMonitor::PresenceMonitor(const Platform& platform, KPUserDefaults& defaults,
                                 std::shared_ptr<MessageLink> link,
                                 std::shared_ptr<FolderRegistry> registry, EndHandler onEnd)
    : defaults_(defaults),
      state_(std::make_shared<State>(
          State{platform, std::move(link), std::move(registry), std::move(onEnd), nullptr})) {}

void PresenceMonitor::updateApplicationRunning() {
  thread_.check();
  const std::vector<std::int32_t> running = state_->platform.applications.withBundleIdentifier(
      state_->platform.bundle.applicationIdentifier());
  setApplicationPid(running.size() == 1 && isOwnVersion() ? running.front() : -1);
}

bool PresenceMonitor::isOwnVersion() const {
  UserDefaults* const defaults = defaults_.sharedApplicationGroupDefaults();
  if (defaults == nullptr) return false;
  const std::optional<std::string> version = defaults->stringForKey(kApplicationVersionKey);
  return version && version == state_->platform.bundle.infoString("CFBundleVersion");
}

void PresenceMonitor::setApplicationPid(std::int32_t pid) {
  thread_.check();
  if (pid < 1) {
    state_->registry->setApplicationPid(pid);
    state_->clear();
    return;
  }
  // Built first: it raises without a receiving port, and nothing has changed then.
  const std::optional<std::string> portName = state_->link->portName();
  const Dictionary ping =
      MessageLink::selectorMessage(selector::kPing, portName ? Object(*portName) : Object());
  state_->registry->setApplicationPid(pid);
  state_->link->sendMessage(ping, kApplicationMessage);
  requestRepositoriesAgain();
  watch(pid);
}

// Each observed folder is tested for itself: a folder that lies in one and outside another is asked
// for and forgotten at once. What is in view comes first, and so is answered first.
void PresenceMonitor::requestRepositoriesAgain() {
  FolderRegistry& registry = *state_->registry;
  const MemoFileSystem files(state_->platform.files);
  const std::vector<URL> directories = state_->platform.finder.directoryURLs();
  RootFinder finder(directories, files);
  const std::shared_ptr<const ObservedPaths> observed = registry.allObservedFiles();
  std::vector<URL> later;
  const auto request = [&](const URL& folder, std::size_t times) {
    for (; times > 0; --times) registry.requestRepository(folder, true, files);
  };
  for (const auto& [parent, folders] : registry.folders().inactiveFolders()) {
    for (const URL& folder : folders) {
      const std::size_t holders = finder.rootsOf(folder).size();
      const std::optional<FileIdentifier> identifier = folder.identifier(files);
      if (identifier && observed->find(*identifier) != nullptr)
        request(folder, holders);
      else if (holders > 0)
        later.push_back(folder);
      if (holders < directories.size()) registry.folders().removeInactiveFolder(parent, folder);
    }
  }
  for (const URL& folder : later) request(folder, finder.rootsOf(folder).size());
}

void PresenceMonitor::watch(std::int32_t pid) {
  const std::shared_ptr<ProcessMonitor> monitor = state_->platform.processMonitors.makeMonitor(pid);
  state_->monitor = monitor;
  const std::weak_ptr<State> weakState = state_;
  // The handler belongs to the watch, so it must not hold it in turn.
  monitor->setEventHandler([weakState, weakMonitor = std::weak_ptr(monitor), pid] {
    if (const std::shared_ptr<State> state = weakState.lock()) {
      state->clear();
      state->onEnd(pid);
    }
    if (const std::shared_ptr<ProcessMonitor> fired = weakMonitor.lock()) fired->cancel();
  });
  monitor->setCancelHandler([weakState] {
    if (const std::shared_ptr<State> state = weakState.lock()) {
      state->monitor = nullptr;
    }
  });
  monitor->resume();
}

// The repositories end first, so that no badge of theirs comes after the empty ones. Meanwhile,
// what is shown may be put in another order.
void PresenceMonitor::State::clear() {
  registry->repositories().clear();
  std::vector<std::string> shown;
  for (const std::shared_ptr<PathSet>& set : registry->allObservedFiles()->sets())
    for (std::string& path : set->paths()) shown.push_back(std::move(path));
  for (const std::string& path : shown)
    platform.finder.setBadgeIdentifier(KPBadge::kEmpty, URL::fileURLWithPath(path));
  link->setPort(nullptr);
  registry->setApplicationPid(-1);
}

}  // namespace kelpie
