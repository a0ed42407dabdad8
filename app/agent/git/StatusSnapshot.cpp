#include "agent/git/StatusSnapshot.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "foundation/Dictionary.h"
#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"

namespace kelpie::agent {
namespace {

// Fills the parts of the status message, item by item.
class MessageParts {
 public:
  MessageParts(std::string_view root, const FileSystem& files) : root_(root), files_(files) {
    if (!root_.ends_with('/')) root_.push_back('/');
  }

  void add(const StatusItem& item);
  // After all items: a folder of which nothing is known but that some of its items may have changed
  // has no badge either.
  void addUnknownFolders(const std::vector<StatusItem>& items);
  Object toObject(RepositoryState state) &&;

 private:
  void addEntry(Object key, const StatusItem& item, const std::string& path, URL url);
  void addRenamed(const URL& url, const std::string& path);
  // False when there is no such folder.
  bool addUnknownFolder(std::string_view folder);

  std::string root_;
  const FileSystem& files_;
  Dictionary status_;
  Objects dirty_;
  Objects ignored_;
  Objects deleted_;
  std::int64_t newCount_ = 0;
  // The folder of renamed items -> their paths, in the order of their first item.
  std::vector<std::pair<FileIdentifier, Objects>> renamed_;
  std::unordered_map<FileIdentifier, std::size_t> renamedIndex_;
};

void MessageParts::add(const StatusItem& item) {
  const std::string path = root_ + item.path;
  if (!item.isGone) {
    URL url = URL::fileURLWithPath(path, item.isFolder);
    if (const std::optional<FileIdentifier> identifier = url.identifier(files_)) {
      if ((item.word & (KPStatusIndexRenamed | KPStatusWorkdirRenamed)) != 0) addRenamed(url, path);
      return addEntry(*identifier, item, path, std::move(url));
    }
    // A conflicted item may have no file; anything else has gone this moment, and the next status
    // says so.
    if ((item.word & KPStatusConflicted) == 0) return;
  }
  const std::string placeholder = path + std::string(kDeletedItemSuffix);
  URL url = URL::fileURLWithPath(placeholder);
  deleted_.emplace_back(url);
  addEntry(Object::path(placeholder), item, placeholder, std::move(url));
}

void MessageParts::addEntry(Object key, const StatusItem& item, const std::string& path, URL url) {
  status_.set(std::move(key), Objects{Object(item.word), Object::path(path)});
  if (item.word == KPStatusIgnored) {
    ignored_.emplace_back(std::move(url));
    return;
  }
  dirty_.emplace_back(std::move(url));
  if (item.word == KPStatusWorkdirNew) ++newCount_;
}

// The file manager has never asked about the new name of an item that was renamed behind its back;
// the extension takes these paths for asked about.
void MessageParts::addRenamed(const URL& url, const std::string& path) {
  const std::optional<URL> folder = url.parentUrl(files_);
  const std::optional<FileIdentifier> identifier =
      folder ? folder->identifier(files_) : std::nullopt;
  if (!identifier) return;
  const auto [at, isNew] = renamedIndex_.try_emplace(*identifier, renamed_.size());
  if (isNew) renamed_.emplace_back(*identifier, Objects());
  renamed_[at->second].second.push_back(Object::path(path));
}

std::size_t commonLength(std::string_view a, std::string_view b) {
  const auto differ = std::ranges::mismatch(a, b);
  return static_cast<std::size_t>(differ.in1 - a.begin());
}

// The longest beginning that the path shares with one of the others, which are sorted.
std::size_t commonLength(std::string_view path, const std::vector<std::string_view>& others) {
  const auto after = std::ranges::lower_bound(others, path);
  const std::size_t with = after == others.end() ? 0 : commonLength(path, *after);
  return after == others.begin() ? with : std::max(with, commonLength(path, *std::prev(after)));
}

// An index may name what cannot exist, a path of a million folders too, so none of them is looked
// at but those that are added, and the first that does not exist.
void MessageParts::addUnknownFolders(const std::vector<StatusItem>& items) {
  std::vector<std::string_view> unknown;
  std::vector<std::string_view> changed;
  for (const StatusItem& item : items)
    if (item.word != KPStatusIgnored)
      (item.word == kStatusUnknown ? unknown : changed).push_back(item.path);
  if (unknown.empty()) return;
  std::ranges::sort(unknown);
  std::ranges::sort(changed);
  if (changed.empty()) addUnknownFolder("");
  std::string_view before;
  for (const std::string_view path : unknown) {
    // So far its folders hold something changed as well, or were added for the path before.
    const std::size_t known = std::max(commonLength(path, before), commonLength(path, changed));
    for (std::size_t slash = path.find('/', known); slash != std::string_view::npos;
         slash = path.find('/', slash + 1))
      if (!addUnknownFolder(path.substr(0, slash))) break;
    before = path;
  }
}

bool MessageParts::addUnknownFolder(std::string_view folder) {
  std::string path = root_ + std::string(folder);
  if (path.size() > 1 && path.ends_with('/')) path.pop_back();
  const auto identifier = URL::fileURLWithPath(path, true).identifier(files_);
  if (identifier) status_.set(*identifier, Objects{Object(kStatusUnknown), Object::path(path)});
  return identifier.has_value();
}

Object MessageParts::toObject(RepositoryState state) && {
  Dictionary renamed;
  for (auto& [folder, paths] : renamed_) renamed.set(folder, std::move(paths));
  Dictionary message;
  message.set(kRepositoryStateKey, static_cast<std::int64_t>(state));
  // The extension adds entries to this very dictionary.
  message.set(kRepositoryStatusKey, Object(std::move(status_)).mutableCopy());
  // No folder is made on disk to show deleted items in.
  message.set(kStatusCreatedDirectoriesKey, Objects());
  message.set(kStatusDirtyUrlsKey, std::move(dirty_));
  message.set(kStatusIgnoredUrlsKey, std::move(ignored_));
  message.set(kStatusDeletedUrlsKey, std::move(deleted_));
  message.set(kStatusNewCountKey, newCount_);
  message.set(kStatusRenamedItemsKey, std::move(renamed));
  return message;
}

}  // namespace

StatusSnapshot::StatusSnapshot(std::string root, RepositoryState state,
                               std::vector<StatusItem> items, bool untrackedShown)
    : root_(std::move(root)),
      state_(state),
      items_(std::move(items)),
      untrackedShown_(untrackedShown) {}

StatusSnapshot::StatusSnapshot(std::string root, RepositoryState state,
                               std::vector<StatusItem> items,
                               std::shared_ptr<const StatusTerms> terms)
    : root_(std::move(root)),
      state_(state),
      items_(std::move(items)),
      untrackedShown_(terms->untrackedShown),
      terms_(std::move(terms)) {}

const StatusItem* StatusSnapshot::itemAt(std::string_view path) const {
  std::call_once(byPathMade_, [this] {
    byPath_.reserve(items_.size());
    // Of an item that was replaced by a folder of its name, the folder's is the one to find.
    for (std::size_t i = 0; i < items_.size(); ++i) byPath_.insert_or_assign(items_[i].path, i);
  });
  const auto found = byPath_.find(path);
  return found == byPath_.end() ? nullptr : &items_[found->second];
}

Object StatusSnapshot::toObject(const FileSystem& files) const {
  MessageParts parts(root_, files);
  for (const StatusItem& item : items_) parts.add(item);
  parts.addUnknownFolders(items_);
  return std::move(parts).toObject(state_);
}

}  // namespace kelpie::agent
