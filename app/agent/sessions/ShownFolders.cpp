#include "agent/sessions/ShownFolders.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "agent/watch/ChangeRules.h"

namespace kelpie::agent {
namespace {

using Event = DirectoryWatcher::Event;

// A repository that is being made has come to rest by then, more often than not.
constexpr std::chrono::milliseconds kQuietNames{60};

// By these a folder becomes a working copy, or a bare repository.
constexpr std::array<std::string_view, 4> kNames = {".git", "HEAD", "objects", "refs"};

constexpr std::string_view kGit = "/.git";

std::string pathIn(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

std::string parentOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
  return folder == "/" || isWithin(path, folder);
}

}  // namespace

ShownFolders::ShownFolders(EventLoop& loop, DirectoryWatcher& names, Callbacks callbacks)
    : loop_(loop),
      names_(names),
      callbacks_(std::move(callbacks)),
      client_(names.addClient([this](const Event& event) { happened(event); })) {}

ShownFolders::~ShownFolders() { names_.removeClient(client_); }

void ShownFolders::add(const std::string& folder, const std::shared_ptr<ExtensionPort>& port) {
  thread_.check();
  Folder& shown = folders_[folder];
  shown.ports.insert_or_assign(port->name(), port);
  shown.age = ++lastAge_;
  if (folders_.size() > kMaximum) forgetOldest();
}

void ShownFolders::forget(const std::string& portName) {
  thread_.check();
  for (auto at = folders_.begin(); at != folders_.end();) {
    at->second.ports.erase(portName);
    if (!at->second.ports.empty()) {
      ++at;
      continue;
    }
    names_.remove(client_, at->first);
    at = folders_.erase(at);
  }
}

// Other watches that were made for it are removed when something happens there.
void ShownFolders::forgetOldest() {
  const auto oldest =
      std::ranges::min_element(folders_, {}, [](const auto& entry) { return entry.second.age; });
  names_.remove(client_, oldest->first);
  folders_.erase(oldest);
}

std::vector<std::shared_ptr<ExtensionPort>> ShownFolders::extensionsOf(
    const std::string& folder) const {
  thread_.check();
  std::vector<std::shared_ptr<ExtensionPort>> ports;
  const auto found = folders_.find(folder);
  if (found == folders_.end()) return ports;
  for (const auto& [name, weak] : found->second.ports)
    if (auto port = weak.lock()) ports.push_back(std::move(port));
  return ports;
}

// Above the folder files are written all the time that are none of its business: in the home
// folder, in /tmp.
void ShownFolders::Watches::addAround(const std::string& folder) const {
  add(folder);
  for (std::string at = folder; at != "/";) {
    at = parentOf(at);
    names_->add(client_, at, DirectoryWatcher::Interest::Names);
  }
}

bool ShownFolders::Watches::add(const std::string& folder) const {
  const auto outcome = names_->add(client_, folder, DirectoryWatcher::Interest::Writes);
  return outcome == DirectoryWatcher::Outcome::Watched ||
         outcome == DirectoryWatcher::Outcome::WatchedBefore;
}

void ShownFolders::happened(const Event& event) {
  if (event.kind == Event::Kind::Lost) return doubt("/");
  if (event.kind == Event::Kind::FolderGone) {
    names_.removeWithin(client_, event.folder);
    return doubt(event.folder);
  }
  // While a git directory is being made, every change counts.
  if (event.folder.ends_with(kGit))
    return doubt(event.folder.substr(0, event.folder.size() - kGit.size()));
  if (std::ranges::find(kNames, event.name) != kNames.end()) doubt(event.folder);
  if (!event.isFolder || event.kind == Event::Kind::Changed) return;
  const std::string path = pathIn(event.folder, event.name);
  // The watched items are elsewhere now.
  names_.removeWithin(client_, path);
  doubt(path);
}

bool ShownFolders::isShownWithin(const std::string& path) const {
  if (path == "/") return !folders_.empty();
  if (folders_.contains(path)) return true;
  const std::string inside = path + "/";
  const auto next = folders_.lower_bound(inside);
  return next != folders_.end() && next->first.starts_with(inside);
}

void ShownFolders::doubt(const std::string& path) {
  thread_.check();
  if (!isShownWithin(path) && !folders_.contains(parentOf(path))) return;
  doubted_.insert(path);
  if (timer_ == nullptr) timer_ = loop_.callAfter(kQuietNames, [this] { tell(); });
}

void ShownFolders::tell() {
  timer_.reset();
  const std::set<std::string> doubted = std::exchange(doubted_, {});
  std::set<std::string> folders;
  for (const auto& shown : folders_) {
    const std::string& folder = shown.first;
    if (std::ranges::any_of(doubted,
                            [&](const std::string& path) { return isAtOrBelow(folder, path); }))
      folders.insert(folder);
  }
  std::vector<std::pair<std::string, std::string>> entries;
  for (const std::string& path : doubted)
    if (const std::string parent = parentOf(path);
        folders_.contains(parent) && !folders.contains(parent) && path != parent)
      entries.emplace_back(parent, path);
  for (const std::string& folder : folders) callbacks_.folderDoubted(folder);
  for (const auto& [folder, entry] : entries) callbacks_.entryDoubted(folder, entry);
}

}  // namespace kelpie::agent
