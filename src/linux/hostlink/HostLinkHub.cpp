#include "linux/hostlink/HostLinkHub.h"

#include <algorithm>
#include <utility>

#include "linux/hostlink/HostSession.h"

namespace kelpie {
namespace {

constexpr std::int64_t kLastMenuKind = 3;

// The item at that index path; null when there is none. The path is as deep as the menu at most.
const MenuItem* itemAt(const Menu& menu, const std::vector<std::size_t>& path) {
  const Menu* level = &menu;
  const MenuItem* item = nullptr;
  for (const std::size_t index : path) {
    if (level == nullptr || index >= level->items.size()) return nullptr;
    item = &level->items[index];
    level = item->submenu.get();
  }
  return item;
}

}  // namespace

HostLinkHub::HostLinkHub(FinderSync& extension, LinuxFinderSyncController& finder,
                         hostlink::ImageFile imageFile, SerialQueues& queues)
    : extension_(extension),
      finder_(finder),
      imageFile_(std::move(imageFile)),
      folders_(queues, [this](const URL& folder) {
        if (isShown(folder.path(), nullptr)) extension_.beginObservingDirectoryAtURL(folder);
      }) {
  finder_.setListener(
      {[this](const auto& badges) { tellBadges(badges); }, [this] { tellDirectories(); }});
}

HostLinkHub::~HostLinkHub() { finder_.setListener({}); }

void HostLinkHub::join(HostSession& session) {
  thread_.check();
  sessions_.push_back(&session);
}

void HostLinkHub::leave(HostSession& session) {
  thread_.check();
  std::erase(sessions_, &session);
  if (newest_ && newest_->session == &session) newest_.reset();
}

hostlink::Welcome HostLinkHub::welcome() const {
  thread_.check();
  return hostlink::welcomeOf(extension_, finder_, imageFile_);
}

bool HostLinkHub::isShown(const std::string& folder, const HostSession* except) const {
  return std::ranges::any_of(sessions_, [&](const HostSession* session) {
    return session != except && session->shows(folder);
  });
}

void HostLinkHub::beginObserving(const HostSession& session, const URL& url) {
  thread_.check();
  if (isShown(url.path(), &session)) return folders_.beginOnceMore(url);
  folders_.begin(url);
  extension_.beginObservingDirectoryAtURL(url);
}

void HostLinkHub::endObserving(const HostSession& session, const URL& url) {
  thread_.check();
  if (isShown(url.path(), &session)) return;
  folders_.end(url.path());
  extension_.endObservingDirectoryAtURL(url);
}

std::optional<Menu> HostLinkHub::menu(const HostSession& session, const hostlink::Number& id,
                                      std::int64_t kind, std::vector<URL> selected,
                                      std::optional<URL> targeted) {
  thread_.check();
  if (kind < 0 || kind > kLastMenuKind) return std::nullopt;
  finder_.setSelection(std::move(selected), std::move(targeted));
  std::optional<Menu> menu = extension_.menuForMenuKind(static_cast<FIMenuKind>(kind));
  finder_.setSelection({}, std::nullopt);
  if (menu) newest_ = NewestMenu{&session, id, *menu};
  return menu;
}

std::optional<std::string> HostLinkHub::choose(const HostSession& session,
                                               const hostlink::Number& id,
                                               const std::vector<std::size_t>& path,
                                               const std::string& choice) {
  thread_.check();
  if (!newest_ || newest_->session != &session || newest_->id != id)
    return "menu " + id.dump() + " is not the newest one";
  const MenuItem* item = itemAt(newest_->menu, path);
  if (item == nullptr) return "the index path names no item";
  if (!item->action) return "the item has no action";
  if (!item->enabled) return "the item is disabled";
  MenuItem chosen = *item;
  chosen.choice = choice;
  if (!extension_.performAction(chosen)) return "the action " + *item->action + " is not known";
  return std::nullopt;
}

void HostLinkHub::tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges) {
  thread_.check();
  for (HostSession* session : sessions_) session->tellBadges(badges);
}

void HostLinkHub::tellDirectories() {
  thread_.check();
  const std::vector<URL> urls = finder_.directoryURLs();
  for (HostSession* session : sessions_) session->tellDirectories(urls);
}

}  // namespace kelpie
