#include "agent/watch/DirectoryWatcher.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "agent/watch/ChangeRules.h"

namespace kelpie::agent {
namespace {

constexpr std::uint32_t kNameEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                      IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_DONT_FOLLOW |
                                      IN_EXCL_UNLINK;

// By Interest.
constexpr std::array<std::uint32_t, 3> kMasks = {
    // Writing through a mapping raises no event but the one when the file is closed.
    kNameEvents | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB,
    kNameEvents | IN_CLOSE_WRITE,
    kNameEvents,
};

constexpr std::size_t kFallbackLimit = 6144;

using Kind = DirectoryWatcher::Event::Kind;

struct KindOfMask {
  std::uint32_t mask;
  Kind kind;
};
// The first row of which a bit is set.
constexpr std::array<KindOfMask, 4> kKinds = {{
    {IN_CREATE | IN_MOVED_TO, Kind::Appeared},
    {IN_DELETE | IN_MOVED_FROM, Kind::Gone},
    {IN_DELETE_SELF | IN_MOVE_SELF, Kind::FolderGone},
    {IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB, Kind::Changed},
}};

int newInotify() { return inotify_init1(IN_NONBLOCK | IN_CLOEXEC); }

}  // namespace

DirectoryWatcher::DirectoryWatcher(std::size_t limit) : limit_(limit), inotify_(newInotify()) {}

DirectoryWatcher::~DirectoryWatcher() {
  if (inotify_ >= 0) close(inotify_);
}

std::size_t DirectoryWatcher::defaultLimit() {
  std::ifstream file("/proc/sys/fs/inotify/max_user_watches");
  std::size_t allowed = 0;
  return file >> allowed ? allowed / 4 * 3 : kFallbackLimit;
}

bool DirectoryWatcher::open() {
  thread_.check();
  {
    const MutexLock lock(mutex_);
    if (inotify_ >= 0) return true;
    inotify_ = newInotify();
    if (inotify_ < 0) return false;
  }
  tellLost();
  return true;
}

int DirectoryWatcher::descriptor() const {
  const MutexLock lock(mutex_);
  return inotify_;
}

DirectoryWatcher::Client DirectoryWatcher::addClient(Handler handler) {
  thread_.check();
  const MutexLock lock(mutex_);
  clients_[++lastClient_].handler = std::make_shared<const Handler>(std::move(handler));
  return lastClient_;
}

void DirectoryWatcher::removeClient(Client client) {
  thread_.check();
  const MutexLock lock(mutex_);
  const auto found = clients_.find(client);
  if (found == clients_.end()) return;
  for (const auto& [folder, watch] : found->second.folders) release(client, folder, watch);
  clients_.erase(found);
}

void DirectoryWatcher::setModest(Client client, bool modest) {
  const MutexLock lock(mutex_);
  if (const auto found = clients_.find(client); found != clients_.end())
    found->second.modest = modest;
}

DirectoryWatcher::Outcome DirectoryWatcher::add(Client client, const std::string& folder,
                                                Interest interest) {
  // With the lock held, so that no event of the new watch is looked up before it is entered.
  const MutexLock lock(mutex_);
  const auto subscriber = clients_.find(client);
  if (subscriber == clients_.end()) return Outcome::NotThere;
  const std::size_t limit = subscriber->second.modest ? limit_ / 2 : limit_;
  if (watches_.size() >= limit && !subscriber->second.folders.contains(folder))
    return Outcome::LimitReached;
  // What others are interested in stays.
  const std::uint32_t mask = kMasks.at(static_cast<std::size_t>(interest)) | IN_MASK_ADD;
  const int watch = inotify_add_watch(inotify_, folder.c_str(), mask);
  const bool isFull = watch < 0 && (errno == ENOSPC || errno == ENOMEM);
  if (watch < 0) return isFull ? Outcome::LimitReached : Outcome::NotThere;
  const auto [at, isNew] = subscriber->second.folders.try_emplace(folder, watch);
  if (!isNew && at->second == watch) return Outcome::WatchedBefore;
  // Another folder is in its place now.
  if (!isNew) release(client, folder, std::exchange(at->second, watch));
  watches_[watch].watchers.emplace_back(client, folder);
  return Outcome::Watched;
}

void DirectoryWatcher::remove(Client client, const std::string& folder) {
  const MutexLock lock(mutex_);
  const auto subscriber = clients_.find(client);
  if (subscriber == clients_.end()) return;
  const auto found = subscriber->second.folders.find(folder);
  if (found == subscriber->second.folders.end()) return;
  release(client, folder, found->second);
  subscriber->second.folders.erase(found);
}

void DirectoryWatcher::removeWithin(Client client, std::string_view folder) {
  const MutexLock lock(mutex_);
  const auto subscriber = clients_.find(client);
  if (subscriber == clients_.end()) return;
  auto& folders = subscriber->second.folders;
  for (auto at = folders.lower_bound(folder); at != folders.end();) {
    if (!at->first.starts_with(folder)) break;
    if (!isWithin(at->first, folder)) {
      ++at;  // a name that only begins alike
      continue;
    }
    release(client, at->first, at->second);
    at = folders.erase(at);
  }
}

void DirectoryWatcher::release(Client client, const std::string& folder, int watch) {
  const auto found = watches_.find(watch);
  if (found == watches_.end()) return;
  std::erase_if(found->second.watchers,
                [&](const auto& each) { return each.first == client && each.second == folder; });
  if (!found->second.watchers.empty()) return;
  watches_.erase(found);
  inotify_rm_watch(inotify_, watch);
}

void DirectoryWatcher::forget(Client client, const std::string& folder, int watch) {
  const auto subscriber = clients_.find(client);
  if (subscriber == clients_.end()) return;
  // The folder may have been made again, and be watched anew by now.
  auto& folders = subscriber->second.folders;
  const auto entry = folders.find(folder);
  if (entry != folders.end() && entry->second == watch) folders.erase(entry);
}

std::size_t DirectoryWatcher::count() const {
  const MutexLock lock(mutex_);
  return watches_.size();
}

std::set<std::string> DirectoryWatcher::foldersOf(Client client) const {
  const MutexLock lock(mutex_);
  std::set<std::string> folders;
  if (const auto found = clients_.find(client); found != clients_.end())
    for (const auto& [folder, watch] : found->second.folders) folders.insert(folder);
  return folders;
}

void DirectoryWatcher::dispatch() {
  thread_.check();
  // Bounded, so that a storm of events leaves the main loop its other work: the descriptor stays
  // readable for the rest.
  alignas(inotify_event) std::array<char, 65536> buffer{};
  const ssize_t size = read(descriptor(), buffer.data(), buffer.size());
  for (ssize_t at = 0; at < size;) {
    const char* start = buffer.data() + at;
    inotify_event event{};
    std::memcpy(&event, start, sizeof(event));
    at += static_cast<ssize_t>(sizeof(event) + event.len);
    // The name is padded with NULs.
    const char* name = start + sizeof(event);
    deliver(event.wd, event.mask, {name, event.len == 0 ? 0 : strnlen(name, event.len)});
  }
}

void DirectoryWatcher::tellLost() {
  std::vector<Client> clients;
  {
    const MutexLock lock(mutex_);
    for (const auto& [client, subscriber] : clients_) clients.push_back(client);
  }
  Event event;
  event.kind = Kind::Lost;
  for (const Client client : clients) call(client, event);
}

void DirectoryWatcher::deliver(int watch, std::uint32_t mask, std::string_view name) {
  if ((mask & IN_Q_OVERFLOW) != 0) return tellLost();
  std::vector<std::pair<Client, std::string>> watchers;
  {
    const MutexLock lock(mutex_);
    const auto found = watches_.find(watch);
    if (found == watches_.end()) return;
    watchers = found->second.watchers;
    if ((mask & IN_IGNORED) != 0) {
      // The system has ended the watch by itself.
      for (const auto& [client, folder] : watchers) forget(client, folder, watch);
      watches_.erase(found);
      return;
    }
  }
  const auto* kind =
      std::ranges::find_if(kKinds, [&](const KindOfMask& each) { return (mask & each.mask) != 0; });
  if (kind == kKinds.end()) return;
  Event event;
  event.kind = kind->kind;
  event.name = name;
  event.isFolder = (mask & IN_ISDIR) != 0;
  for (auto& [client, folder] : watchers) {
    event.folder = std::move(folder);
    call(client, event);
  }
}

void DirectoryWatcher::call(Client client, const Event& event) {
  std::shared_ptr<const Handler> handler;
  {
    const MutexLock lock(mutex_);
    if (const auto found = clients_.find(client); found != clients_.end())
      handler = found->second.handler;
  }
  if (handler) (*handler)(event);
}

}  // namespace kelpie::agent
