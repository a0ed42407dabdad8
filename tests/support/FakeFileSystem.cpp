#include "support/FakeFileSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "foundation/Error.h"

namespace kelpie {
namespace {

constexpr std::string_view kCocoaErrorDomain = "NSCocoaErrorDomain";
constexpr std::int64_t kNoSuchFile = 260;
constexpr std::int64_t kNoPermission = 257;

Error cocoaError(std::int64_t code) { return {std::string(kCocoaErrorDomain), code, Object()}; }

std::string joined(std::string_view folder, std::string_view name) {
  std::string path(folder == "/" ? "" : folder);
  return path.append("/").append(name);
}

std::vector<std::string> componentsOf(std::string_view path) {
  std::vector<std::string> components;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    if (end > 0) components.emplace_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return components;
}

// How the path of a file reference begins; the file's number follows.
constexpr std::string_view kReferenceFolder = "/.file/id=";

// Device 1 and a number as the inode, as Linux writes them.
Bytes identifierBytes(std::uint64_t number) {
  Bytes bytes(16, 0);
  bytes[0] = 1;
  for (std::size_t i = 0; i < 8; ++i) bytes[8 + i] = static_cast<std::uint8_t>(number >> (8 * i));
  return bytes;
}

}  // namespace

struct FakeFileSystem::Node {
  enum class Kind { File, Folder, Link };

  Kind kind = Kind::File;
  bool package = false;
  bool unreadable = false;
  bool vanishing = false;
  Object identifier;
  std::uint64_t number = 0;  // of its file references
  std::string target;        // of a link
  std::optional<std::string> localizedName;
  std::optional<Image> icon;
  std::vector<std::pair<std::string, std::shared_ptr<Node>>> children;

  std::shared_ptr<Node> child(std::string_view name) const {
    const auto found = std::find_if(children.begin(), children.end(),
                                    [name](const auto& entry) { return entry.first == name; });
    return found == children.end() ? nullptr : found->second;
  }

  ResourceValues values() const {
    if (vanishing) return {};
    const auto id = FileIdentifier::fromObject(identifier);
    if (!id) return {};
    return {id, kind == Kind::Folder, package, kind == Kind::Link};
  }
};

struct FakeFileSystem::Tree {
  // A node and the path that leads to it without a link.
  struct Place {
    std::shared_ptr<Node> node;
    std::string path;
  };

  std::shared_ptr<Node> root;
  std::uint64_t lastNumber = 0;

  Tree() { root = makeNode(Node::Kind::Folder); }

  std::shared_ptr<Node> makeNode(Node::Kind kind) {
    auto node = std::make_shared<Node>();
    node->kind = kind;
    node->number = ++lastNumber;
    node->identifier = identifierBytes(node->number);
    return node;
  }

  // Where the path leads; a null node when nothing is there, links go round in circles or the path
  // is empty.
  Place find(std::string_view path, bool followLast) const {
    if (path.empty()) return {};
    constexpr int kMaximumLinks = 40;
    std::vector<std::string> ahead = componentsOf(path);
    std::reverse(ahead.begin(), ahead.end());
    std::vector<Place> way = {{root, "/"}};
    int links = 0;
    while (!ahead.empty()) {
      const std::string name = std::move(ahead.back());
      ahead.pop_back();
      if (name == ".") continue;
      if (name == "..") {
        if (way.size() > 1) way.pop_back();
        continue;
      }
      const Place& folder = way.back();
      auto node = folder.node->child(name);
      if (node == nullptr) return {};
      if (node->kind == Node::Kind::Link && (followLast || !ahead.empty())) {
        if (++links > kMaximumLinks) return {};
        if (node->target.starts_with('/')) way.resize(1);
        std::vector<std::string> detour = componentsOf(node->target);
        ahead.insert(ahead.end(), detour.rbegin(), detour.rend());
        continue;
      }
      way.push_back({node, joined(folder.path, name)});
    }
    return way.back();
  }

  // Where the file with this number is now; a null node when it is gone.
  Place findNumber(std::uint64_t number) const {
    std::vector<Place> waiting = {{root, "/"}};
    while (!waiting.empty()) {
      const Place place = waiting.back();
      waiting.pop_back();
      if (place.node->number == number) return place;
      for (const auto& [name, child] : place.node->children)
        waiting.push_back({child, joined(place.path, name)});
    }
    return {};
  }

  Place add(std::string_view path, Node::Kind kind) {
    auto place = Place{root, "/"};
    const std::vector<std::string> components = componentsOf(path);
    for (std::size_t i = 0; i < components.size(); ++i) {
      const bool last = i + 1 == components.size();
      auto next = place.node->child(components[i]);
      if (next == nullptr) {
        next = makeNode(last ? kind : Node::Kind::Folder);
        place.node->children.emplace_back(components[i], next);
      }
      place = {next, joined(place.path, components[i])};
    }
    return place;
  }

  // Takes the item out of its folder; null when there is none.
  std::shared_ptr<Node> detach(std::string_view path) {
    const Place place = find(path, false);
    if (place.node == nullptr || place.node == root) return nullptr;
    const std::string folder = place.path.substr(0, place.path.rfind('/') + 1);
    std::erase_if(find(folder, true).node->children,
                  [&place](const auto& entry) { return entry.second == place.node; });
    return place.node;
  }
};

// Depth first, parents before their contents; reads each folder when the walk gets there.
class FakeFileSystem::Enumerator final : public DirectoryEnumerator {
 public:
  Enumerator(const FakeFileSystem& files, std::string start, ErrorHandler onError)
      : files_(files), onError_(std::move(onError)) {
    open(std::move(start));
  }

  const DirectoryEntry* next() override {
    if (descend_) open(std::exchange(*descend_, {}));
    descend_.reset();
    while (!levels_.empty() && !stopped_) {
      Level& level = levels_.back();
      if (level.next == level.items.size()) {
        levels_.pop_back();
        continue;
      }
      const auto& [name, node] = level.items[level.next++];
      path_ = joined(level.path, name);
      entry_.path = path_;
      const ResourceValues values = look(*node);
      entry_.isDirectory = values.isDirectory;
      entry_.identifier = values.identifier;
      if (values.isDirectory) descend_ = path_;
      return &entry_;
    }
    return nullptr;
  }

  void skipDescendants() override { descend_.reset(); }

 private:
  struct Level {
    std::string path;
    std::vector<std::pair<std::string, std::shared_ptr<Node>>> items;
    std::size_t next = 0;
  };

  ResourceValues look(const Node& node) {
    const MutexLock lock(files_.mutex_);
    return node.values();
  }

  void open(std::string path) {
    std::optional<Error> error;
    {
      const MutexLock lock(files_.mutex_);
      const auto place = files_.tree_->find(path, levels_.empty());
      if (place.node == nullptr || place.node->vanishing)
        error = cocoaError(kNoSuchFile);
      else if (place.node->unreadable || place.node->kind != Node::Kind::Folder)
        error = cocoaError(kNoPermission);
      else
        levels_.push_back({path, place.node->children, 0});
    }
    if (error) stopped_ = onError_ && !onError_(path, *error);
  }

  const FakeFileSystem& files_;
  ErrorHandler onError_;
  std::vector<Level> levels_;
  std::optional<std::string> descend_;  // the folder that next() gave last
  std::string path_;
  DirectoryEntry entry_;
  bool stopped_ = false;
};

FakeFileSystem::FakeFileSystem(EventLog& events)
    : events_(events), tree_(std::make_unique<Tree>()) {}

FakeFileSystem::~FakeFileSystem() = default;

URL FakeFileSystem::addFile(std::string_view path) {
  const MutexLock lock(mutex_);
  return URL::fileURLWithPath(tree_->add(path, Node::Kind::File).path);
}

URL FakeFileSystem::addFolder(std::string_view path) {
  const MutexLock lock(mutex_);
  return URL::fileURLWithPath(tree_->add(path, Node::Kind::Folder).path, true);
}

URL FakeFileSystem::addPackage(std::string_view path) {
  const MutexLock lock(mutex_);
  const auto place = tree_->add(path, Node::Kind::Folder);
  place.node->package = true;
  return URL::fileURLWithPath(place.path, true);
}

URL FakeFileSystem::addLink(std::string_view path, std::string_view target) {
  const MutexLock lock(mutex_);
  const auto place = tree_->add(path, Node::Kind::Link);
  place.node->target = std::string(target);
  return URL::fileURLWithPath(place.path);
}

void FakeFileSystem::remove(std::string_view path) {
  const MutexLock lock(mutex_);
  tree_->detach(path);
}

void FakeFileSystem::move(std::string_view from, std::string_view to) {
  const MutexLock lock(mutex_);
  const auto node = tree_->detach(from);
  if (node == nullptr) {
    ADD_FAILURE() << "nothing to move at " << from;
    return;
  }
  tree_->detach(to);
  const std::string folder(to.substr(0, to.rfind('/') + 1));
  tree_->add(folder, Node::Kind::Folder)
      .node->children.emplace_back(to.substr(to.rfind('/') + 1), node);
}

namespace {

// The item that a test speaks of: a spelling mistake there is a failure, not a crash.
template <class Node>
Node& required(const std::shared_ptr<Node>& node, std::string_view path) {
  static Node nowhere;
  if (node != nullptr) return *node;
  ADD_FAILURE() << "nothing at " << path;
  return nowhere;
}

}  // namespace

void FakeFileSystem::setIdentifier(std::string_view path, const Object& identifier) {
  const MutexLock lock(mutex_);
  required(tree_->find(path, false).node, path).identifier = identifier;
}

void FakeFileSystem::setUnreadable(std::string_view path) {
  const MutexLock lock(mutex_);
  required(tree_->find(path, false).node, path).unreadable = true;
}

void FakeFileSystem::setVanishing(std::string_view path) {
  const MutexLock lock(mutex_);
  required(tree_->find(path, false).node, path).vanishing = true;
}

void FakeFileSystem::setLocalizedName(std::string_view path, std::string_view name) {
  const MutexLock lock(mutex_);
  required(tree_->find(path, false).node, path).localizedName = std::string(name);
}

void FakeFileSystem::setIcon(std::string_view path, const Image& icon) {
  const MutexLock lock(mutex_);
  required(tree_->find(path, false).node, path).icon = icon;
}

void FakeFileSystem::setReferencesFollow(bool follow) {
  const MutexLock lock(mutex_);
  referencesFollow_ = follow;
}

Bytes FakeFileSystem::addBookmark(std::string_view path) {
  const ByteView bytes = bytesOf(path);
  return {bytes.begin(), bytes.end()};
}

void FakeFileSystem::setBookmark(const Bytes& bookmark, BookmarkResolution resolution) {
  const MutexLock lock(mutex_);
  bookmarks_.insert_or_assign(bookmark, std::move(resolution));
}

std::size_t FakeFileSystem::lookUps() const {
  const MutexLock lock(mutex_);
  return allLookUps_;
}

std::size_t FakeFileSystem::lookUps(std::string_view path) const {
  const MutexLock lock(mutex_);
  const auto found = lookUps_.find(path);
  return found == lookUps_.end() ? 0 : found->second;
}

std::size_t FakeFileSystem::listings() const {
  const MutexLock lock(mutex_);
  return listings_;
}

void FakeFileSystem::forgetCounts() {
  const MutexLock lock(mutex_);
  lookUps_.clear();
  allLookUps_ = 0;
  listings_ = 0;
}

ResourceValues FakeFileSystem::resourceValues(const URL& url) const {
  if (!url.isFileURL()) return {};
  const MutexLock lock(mutex_);
  ++allLookUps_;
  ++lookUps_[url.path()];
  const auto node = tree_->find(pathOf(url), false).node;
  return node == nullptr ? ResourceValues() : node->values();
}

std::optional<std::string> FakeFileSystem::localizedName(const URL& url) const {
  if (!url.isFileURL()) return std::nullopt;
  const MutexLock lock(mutex_);
  const auto node = tree_->find(pathOf(url), false).node;
  if (node == nullptr || !node->values().identifier) return std::nullopt;
  return node->localizedName.value_or(std::string(url.lastPathComponent()));
}

std::optional<Image> FakeFileSystem::icon(const URL& url) const {
  if (!url.isFileURL()) return std::nullopt;
  const MutexLock lock(mutex_);
  const auto node = tree_->find(pathOf(url), false).node;
  return node == nullptr ? std::nullopt : node->icon;
}

std::optional<URL> FakeFileSystem::parentUrl(const URL& url) const {
  const std::optional<URL> path = filePathUrl(url);
  return path ? path->deletingLastPathComponent() : std::nullopt;
}

std::optional<URL> FakeFileSystem::fileReferenceUrl(const URL& url) const {
  if (!url.isFileURL()) return std::nullopt;
  const MutexLock lock(mutex_);
  const auto place = tree_->find(pathOf(url), true);
  if (place.node == nullptr) return std::nullopt;
  const ResourceValues values = place.node->values();
  if (!values.identifier) return std::nullopt;
  if (referencesFollow_)
    return URL::fileURLWithPath(std::string(kReferenceFolder) + std::to_string(place.node->number));
  return URL::fileURLWithPath(place.path, values.isDirectory);
}

std::optional<URL> FakeFileSystem::filePathUrl(const URL& url) const {
  if (!url.path().starts_with(kReferenceFolder)) return url;
  const MutexLock lock(mutex_);
  const std::string path = pathOf(url);
  if (path.empty()) return std::nullopt;
  return URL::fileURLWithPath(path, tree_->find(path, false).node->values().isDirectory);
}

std::string FakeFileSystem::pathOf(const URL& url) const {
  if (!url.path().starts_with(kReferenceFolder)) return url.path();
  const std::string number = url.path().substr(kReferenceFolder.size());
  return tree_->findNumber(std::strtoull(number.c_str(), nullptr, 10)).path;
}

std::vector<URL> FakeFileSystem::contentsOfDirectory(const URL& url) const {
  events_.add("files.list " + url.path());
  const MutexLock lock(mutex_);
  ++listings_;
  const auto node = url.isFileURL() ? tree_->find(pathOf(url), true).node : nullptr;
  if (node == nullptr || node->vanishing || node->unreadable) return {};
  std::vector<URL> urls;
  urls.reserve(node->children.size());
  for (const auto& [name, child] : node->children)
    urls.push_back(
        URL::fileURLWithPath(joined(pathOf(url), name), child->kind == Node::Kind::Folder));
  return urls;
}

std::unique_ptr<DirectoryEnumerator> FakeFileSystem::enumerator(const URL& url,
                                                                ErrorHandler onError) const {
  events_.add("files.walk " + url.path());
  {
    const MutexLock lock(mutex_);
    ++listings_;
  }
  const std::optional<URL> path = filePathUrl(url);
  return std::make_unique<Enumerator>(*this, path ? path->path() : url.path(), std::move(onError));
}

BookmarkResolution FakeFileSystem::resolveBookmark(ByteView bookmark) const {
  const std::string_view path = textOf(bookmark);
  const MutexLock lock(mutex_);
  const auto found = bookmarks_.find(Bytes(bookmark.begin(), bookmark.end()));
  if (found != bookmarks_.end()) return found->second;
  const auto node = tree_->find(path, false).node;
  if (node == nullptr || !node->values().identifier)
    return {std::nullopt, false, cocoaError(kNoSuchFile)};
  return {URL::fileURLWithPath(path, node->values().isDirectory), false, std::nullopt};
}

}  // namespace kelpie
