#include "status/FolderContents.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "status/FolderWalk.h"

namespace kelpie {
namespace {

std::string_view folderOfPath(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  return path.substr(0, std::max<std::size_t>(slash, 1));
}

// No folder is below itself. That includes the root, which holds itself by its path.
bool isBelow(std::string_view path, std::string_view folder) {
  if (folder == "/") return path.size() > 1 && path.starts_with('/');
  return path.size() > folder.size() && path[folder.size()] == '/' && path.starts_with(folder);
}

}  // namespace

// One walk, of one folder.
class FolderContents::Walk {
 public:
  Walk(FolderContents& contents, const URL& url, Folder& folder)
      : contents_(contents),
        walk_(url, contents.ignored_, contents.files_),
        path_(url.path()),
        folder_(folder),
        lastFolder_(&folder) {}

  void run() {
    bool failed = false;
    while (const DirectoryEntry* entry = walk_.next()) {
      if (!entry->isDirectory) {
        holderOf(entry->path).files.push_back(contents_.fileOf(entry->identifier));
      } else if (!walk_.skipIfIgnored(*entry) && !enter(*entry)) {
        failed = true;
        break;
      }
    }
    finish(failed || walk_.error());
  }

 private:
  using Met = std::pair<std::string, Folder*>;

  // False when the folder is known to hold an error.
  bool enter(const DirectoryEntry& entry) {
    const auto found = contents_.folders_.find(entry.path);
    if (found == contents_.folders_.end() || &found->second == &folder_) return true;
    Folder& inner = found->second;
    if (inner.state == State::Failed) {
      errorPath_ = entry.path;
      return false;
    }
    holderOf(entry.path).inner.push_back(&inner);
    if (inner.state == State::Walked)
      walk_.skipDescendants();
    else
      met_.emplace(entry.path, &inner);
    return true;
  }

  // The nearest folder above the item that keeps its files apart.
  Folder& holderOf(std::string_view path) {
    std::string_view above = folderOfPath(path);
    if (above == lastPath_) return *lastFolder_;
    lastPath_ = above;
    lastFolder_ = &folder_;
    while (!met_.empty() && isBelow(above, path_)) {
      const auto met = met_.find(above);
      if (met != met_.end()) {
        lastFolder_ = met->second;
        break;
      }
      above = folderOfPath(above);
    }
    return *lastFolder_;
  }

  void finish(bool failed) {
    if (walk_.error()) errorPath_ = walk_.errorPath();
    settle(folder_, failed ? State::Failed : State::Walked);
    for (const auto& [path, met] : met_) {
      if (!failed) {
        settle(*met, State::Walked);
      } else {
        // Its own walk would end at the same error, or is still to be made.
        const bool holdsError = errorPath_ == path || isBelow(errorPath_, path);
        settle(*met, holdsError ? State::Failed : State::NotWalked);
      }
    }
  }

  static void settle(Folder& folder, State state) {
    folder.state = state;
    if (state == State::Walked) {
      folder.files.shrink_to_fit();
    } else {
      folder.files = {};
      folder.inner = {};
    }
  }

  FolderContents& contents_;
  FolderWalk walk_;
  const std::string& path_;
  Folder& folder_;
  // The other folders to be asked about that the walk has gone into, by path.
  std::unordered_map<std::string, Folder*, PathHash, std::equal_to<>> met_;
  std::string lastPath_;  // the answer that holderOf() gave last
  Folder* lastFolder_;
  std::string errorPath_;
};

void FolderContents::announce(std::string_view path) { folders_.try_emplace(std::string(path)); }

std::optional<std::size_t> FolderContents::count(const URL& folder) {
  if (walked(folder).state == State::Failed) return std::nullopt;
  std::size_t count = 0;
  forEachPart(folder, [&count](std::span<const File> files) { count += files.size(); });
  return count;
}

void FolderContents::forEachPart(const URL& folder,
                                 FunctionRef<void(std::span<const File> files)> visit) {
  std::vector<const Folder*> waiting{&walked(folder)};
  while (!waiting.empty()) {
    const Folder& next = *waiting.back();
    waiting.pop_back();
    if (!next.files.empty()) visit(next.files);
    waiting.insert(waiting.end(), next.inner.begin(), next.inner.end());
  }
}

const FolderContents::Folder& FolderContents::walked(const URL& url) {
  Folder& folder = folders_[url.path()];
  if (folder.state == State::NotWalked) Walk(*this, url, folder).run();
  return folder;
}

FolderContents::File FolderContents::fileOf(const std::optional<FileIdentifier>& identifier) {
  File file;
  if (!identifier) return file;
  const ByteView bytes = identifier->bytes();
  if (bytes.size() <= file.bytes_.size() && !identifier->isArchivedForm()) {
    std::copy(bytes.begin(), bytes.end(), file.bytes_.begin());
    file.size_ = static_cast<std::uint8_t>(bytes.size());
    return file;
  }
  const std::uint64_t index = longIdentifiers_.size();
  longIdentifiers_.push_back(*identifier);
  std::memcpy(file.bytes_.data(), &index, sizeof index);
  file.size_ = File::kLong;
  return file;
}

StatusTable::Key FolderContents::keyOf(const File& file) const {
  if (file.size_ != File::kLong)
    return StatusTable::Key::ofIdentifierData(ByteView(file.bytes_).first(file.size_));
  std::uint64_t index = 0;
  std::memcpy(&index, file.bytes_.data(), sizeof index);
  return longIdentifiers_[static_cast<std::size_t>(index)];
}

}  // namespace kelpie
