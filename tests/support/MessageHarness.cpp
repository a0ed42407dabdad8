#include "support/MessageHarness.h"

#include <optional>
#include <string>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "extension/RepositoryTable.h"
#include "foundation/Dictionary.h"
#include "platform/FIMenuKind.h"
#include "protocol/MessageKeys.h"
#include "status/KPRepository.h"

namespace kelpie {

namespace {

std::size_t itemsOf(const Menu& menu) {
  std::size_t count = menu.items.size();
  for (const MenuItem& item : menu.items)
    if (item.submenu != nullptr) count += itemsOf(*item.submenu);
  return count;
}

std::vector<std::string> folders() {
  std::vector<std::string> paths = {std::string(MessageHarness::kRoot) + "/d"};
  while (paths.size() < MessageHarness::kShownFolders)
    paths.push_back(paths.front() + std::to_string(paths.size()));
  return paths;
}

Platform withFinder(const Platform& p, FinderSyncController& finder) {
  return {finder,         p.messagePorts,    p.defaults,      p.entitlements,
          p.applications, p.processMonitors, p.notifications, p.files,
          p.queues,       p.bundle,          p.limits,        p.log};
}

}  // namespace

MessageHarness::MessageHarness() : platform_(withFinder(fakes_.platform(), finder_)) {
  fakes_.groupDefaults().changeFromOutside("KPApplicationVersion", "1");
  fakes_.groupDefaults().changeFromOutside("KPShowFolderGitStatus", true);
  fakes_.applications.running["org.kelpie.Kelpie"] = {700};
  fakes_.messagePorts.setListening("group.org.kelpie.App", true);
  KPKelpieSync::initialize(platform_);
  defaults_ = std::make_unique<KPUserDefaults>(platform_);
  controller_ = KPKelpieSync::create(platform_, *defaults_);

  const std::string root(kRoot);
  const URL git = fakes_.files->addFolder(root + "/.git");
  send("openRepositoryWithUrls:", Objects{URL::fileURLWithPath(kRoot), git});
  for (const std::string& folder : folders()) {
    controller_->requestBadgeIdentifierForURL(fakes_.files->addFolder(folder));
    controller_->requestBadgeIdentifierForURL(fakes_.files->addFile(folder + "/a"));
  }
  runQueues();
  fakes_.messagePorts.forgetSent();
  fakes_.events.clear();
}

MessageHarness::~MessageHarness() {
  controller_.reset();
  runQueues();
}

KPRepository& MessageHarness::repository() const {
  return *controller_->repositories().all()->front();
}

Bytes MessageHarness::target() const {
  // Not the repository's own: a message may have closed it.
  const auto identifier = URL::fileURLWithPath(kRoot).identifier(*fakes_.files);
  const ByteView own = identifier->bytes();
  return {own.begin(), own.end()};
}

std::vector<Bytes> MessageHarness::shownFolders() const {
  std::vector<Bytes> identifiers;
  for (const std::string& folder : folders()) {
    const auto identifier = URL::fileURLWithPath(folder).identifier(*fakes_.files);
    const ByteView own = identifier->bytes();
    identifiers.emplace_back(own.begin(), own.end());
  }
  return identifiers;
}

void MessageHarness::handle(const Bytes& message) {
  controller_->handleSelectorMessage(std::make_shared<const Bytes>(message));
}

void MessageHarness::runQueues() { fakes_.runAll(); }

std::size_t MessageHarness::menuItems() {
  std::size_t count = 0;
  for (const FIMenuKind kind :
       {FIMenuKind::ContextualMenuForContainer, FIMenuKind::ToolbarItemMenu}) {
    const std::optional<Menu> menu = controller_->menuForMenuKind(kind);
    if (menu) count += itemsOf(*menu);
  }
  return count;
}

void MessageHarness::send(std::string_view selector, const Object& argument) {
  const Dictionary content{{kMessageSelectorKey, selector}, {kMessageArgumentKey, argument}};
  handle(KeyedArchiver::archivedData(content).value());
  runQueues();
}

}  // namespace kelpie
