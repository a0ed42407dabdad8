#include "extension/FolderRegistry.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>

#include "extension/MessageLink.h"
#include "extension/RepositoryLookup.h"
#include "extension/RootFinder.h"
#include "extension/ShownItems.h"
#include "foundation/Error.h"
#include "foundation/FolderRun.h"
#include "foundation/MemoFileSystem.h"
#include "platform/BookmarkResolution.h"
#include "platform/QueueCheck.h"
#include "protocol/Selectors.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"

namespace kelpie {

namespace {

// Two working copies that change places are opened shortly after each other, so only a few wait.
// One that is forgotten gets its items when the file manager asks for them again.
constexpr std::size_t kMaximumDisplaced = 1024;
// Folders that are gone and no longer shown, of which something is still known.
constexpr std::size_t kMaximumGone = 64;

struct ResolvedFolders {
  std::vector<URL> urls;       // each text once
  std::optional<Error> error;  // the last one that a bookmark gave
};

// The folders that the bookmarks resolve to. Empty when one of the bookmarks is not data.
std::optional<ResolvedFolders> resolveFolders(const Object& bookmarks, const FileSystem& files) {
  ResolvedFolders folders;
  folders.urls.reserve(bookmarks.size());
  std::unordered_set<std::string> texts;
  for (const Object& bookmark : bookmarks.elements()) {
    const std::optional<Bytes> data = bookmark.data();
    if (!data) return std::nullopt;
    BookmarkResolution resolution = files.resolveBookmark(*data);
    if (resolution.error) folders.error = std::move(resolution.error);
    if (!resolution.url) break;
    URL url = files.fileReferenceUrl(*resolution.url).value_or(*resolution.url);
    if (texts.insert(url.absoluteString()).second) folders.urls.push_back(std::move(url));
  }
  return folders;
}

}  // namespace

FolderRegistry::FolderRegistry(const Platform& platform, KPUserDefaults& defaults,
                               std::shared_ptr<MessageLink> link)
    : platform_(platform),
      defaults_(defaults),
      link_(std::move(link)),
      queue_(platform.queues.makeQueue(platform.bundle.identifier() + ".ObserverQueue")),
      allObservedFiles_(std::make_shared<ObservedPaths>()) {}

// What is shown is noted before it gets a badge: when the main application goes at that moment, all
// that has a badge is known. And before the application is looked for: when it comes at that
// moment, it is asked for all folders that are noted.
void FolderRegistry::beginObservingDirectoryAtURL(const URL& url) {
  checkIsOn(*queue_);
  const MemoFileSystem files(platform_.files);
  noteFolder(url, files);
  std::shared_ptr<KPRepository> repository;
  if (applicationPid() > 0) {
    requestRepository(url, false, files);
    repository = repositoryForURL(url, files);
  }
  const std::optional<FileIdentifier> identifier = url.identifier(files);
  if (repository == nullptr && !identifier) return;
  const std::vector<URL> contents = files.contentsOfDirectory(url);
  if (identifier) {
    const std::shared_ptr<PathSet> paths = allObservedFiles()->findOrCreate(*identifier);
    for (const URL& item : contents) paths->add(item.path());
  }
  if (repository != nullptr) {
    // Each item is looked at once: nothing is gained by remembering them all.
    observe(*repository, contents, platform_.files);
  }
}

void FolderRegistry::endObservingDirectoryAtURL(const URL& url) {
  checkIsOn(*queue_);
  const MemoFileSystem files(platform_.files);
  const std::optional<FileIdentifier> identifier = url.identifier(files);
  if (!identifier) return forgetLater(url);
  if (applicationPid() > 0) {
    const std::shared_ptr<KPRepository> repository = repositoryForURL(url, files);
    if (repository != nullptr && repository->observedPaths() != nullptr)
      repository->observedPaths()->remove(*identifier);
  }
  allObservedFiles()->remove(*identifier);
  folders_.removeInactiveFolders(*identifier);
}

// Many at a time, since all that is shown is looked through.
void FolderRegistry::forgetLater(const URL& folder) {
  checkIsOn(*queue_);
  goneFolders_.insert(folder.path());
  if (goneFolders_.size() <= kMaximumGone) return;
  ShownItems::forgetItemsIn(goneFolders_, *allObservedFiles());
  for (const std::shared_ptr<KPRepository>& repository : *repositories_.all())
    if (repository->observedPaths() != nullptr)
      ShownItems::forgetItemsIn(goneFolders_, *repository->observedPaths());
  folders_.forgetInactiveFolders(goneFolders_);
  folders_.forgetObservedDirectories(goneFolders_);
  goneFolders_.clear();
}

// Neighbours that one repository holds are handed to it together. All are noted first: see
// beginObservingDirectoryAtURL().
void FolderRegistry::requestBadgeIdentifiersForURLs(const std::vector<URL>& urls) {
  checkIsOn(*queue_);
  const MemoFileSystem files(platform_.files);
  noteItems(urls, files);
  std::optional<RepositoryLookup> lookup;
  std::shared_ptr<KPRepository> repository;  // that holds those from `first` up to here
  std::size_t first = 0;
  for (std::size_t index = 0; index <= urls.size(); ++index) {
    std::shared_ptr<KPRepository> next;
    if (index < urls.size() && applicationPid() > 0) {
      if (!lookup || !lookup->isCurrent()) lookup.emplace(repositories_, files);
      next = lookup->repositoryForURL(urls[index]);
    }
    if (next == repository && index < urls.size()) continue;
    if (repository != nullptr)
      observe(*repository, std::span(urls).subspan(first, index - first), files);
    repository = std::move(next);
    first = index;
  }
}

// Only the folder's own items reach a repository that is the first in its place: the folders below
// it that wait for an answer keep waiting, and what they show is handed over as the file manager
// asks for it again. Where another one is replaced the file manager does not ask again: it has
// badges.
void FolderRegistry::openRepository(const Opening& opening) {
  checkIsOn(*queue_);
  if (opening.clearings != repositories_.clearings()) return;
  const MemoFileSystem files(platform_.files);
  // Another folder may have taken the place since the message came.
  const FileIdentifier identifier =
      opening.workingUrl.identifier(files).value_or(opening.identifier);
  const URL path = files.filePathUrl(opening.workingUrl).value_or(opening.workingUrl);
  folders_.removeObservedDirectory(identifier);
  const bool replaces = replaceRepositories(identifier, path.path(), files) ||
                        repositories_.find(identifier) != nullptr;
  ShownItems shown(*allObservedFiles(), files);
  if (replaces || shown.isOutOfOrder(path.path(), identifier)) {
    shown.putInOrder();
    folders_.putInactiveFoldersInOrder(files);
  }
  const auto observedPaths = std::make_shared<ObservedPaths>();
  observedPaths->set(identifier, allObservedFiles()->find(identifier));
  if (replaces) adoptShownItems(opening.workingUrl, identifier, *observedPaths, files);
  const std::shared_ptr<KPRepository> repository =
      KPRepository::create(opening.workingUrl, opening.gitUrl, observedPaths, platform_, defaults_);
  if (const std::optional<FileIdentifier> own = repository->identifier())
    repositories_.set(*own, repository, opening.clearings);
  repository->addObservedURL(path);
}

void FolderRegistry::relocateRepository(const FileIdentifier& identifier) {
  checkIsOn(*queue_);
  const MemoFileSystem files(platform_.files);
  folders_.removeObservedDirectory(identifier);
  const std::shared_ptr<KPRepository> repository = repositories_.find(identifier);
  if (repository == nullptr || !repository->isInPlace(files)) return;
  const std::string former = repository->rootPath();
  repository->relocate(files);
  const std::string present = repository->rootPath();
  noteFormerPlace(former, present);
  takeOverPlace(*repository, files);
  if (former == present) return;
  // The other one may be back already where it was opened, so that nothing tells that it has moved.
  for (const std::shared_ptr<KPRepository>& other : *repositories_.all())
    if (other->rootPath() == former && other->isInPlace(files) && !other->hasMoved(files))
      takeOverPlace(*other, files);
}

void FolderRegistry::takeOverPlace(KPRepository& repository, const FileSystem& files) {
  checkIsOn(*queue_);
  forgetFormerPlace(repository.rootPath());
  ShownItems shown(*allObservedFiles(), files);
  shown.putInOrder();
  folders_.putInactiveFoldersInOrder(files);
  shown.leaveOutStrays(*repository.observedPaths());
  adoptShownItems(*repository.url(), *repository.rootIdentifier(), *repository.observedPaths(),
                  files);
  for (const std::shared_ptr<PathSet>& set : repository.observedPaths()->sets()) {
    std::vector<URL> urls;
    for (const std::string& path : set->paths()) urls.push_back(URL::fileURLWithPath(path));
    repository.addObservedURLs(urls, files);
  }
  if (const std::optional<URL> root = files.filePathUrl(*repository.url()))
    repository.addObservedURL(*root, files);
}

bool FolderRegistry::replaceRepositories(const FileIdentifier& identifier, std::string_view path,
                                         const FileSystem& files) {
  checkIsOn(*queue_);
  bool takesOver = displaced_.erase(identifier) != 0;
  takesOver = forgetFormerPlace(std::string(path)) || takesOver;
  std::vector<FileIdentifier> replaced;
  for (const std::shared_ptr<KPRepository>& repository : *repositories_.all()) {
    const std::optional<FileIdentifier>& held = repository->rootIdentifier();
    const std::string place = repository->rootPath();
    if (!held || (held != identifier && place != path)) continue;
    if (!repository->isInPlace(files)) {
      replaced.push_back(*held);
      noteFormerPlace(place, path);
    } else if (held != identifier) {
      takesOver = true;  // it has moved on, followed by its reference
    } else {
      noteFormerPlace(place, path);  // it was opened there before it has moved
    }
  }
  for (const FileIdentifier& held : replaced) {
    repositories_.remove(held);
    if (held != identifier && displaced_.size() < kMaximumDisplaced) displaced_.insert(held);
  }
  return takesOver || !replaced.empty();
}

// A repository may answer for a place to which it was followed by its reference, and leave it
// again, without the main application's saying so.
void FolderRegistry::observe(KPRepository& repository, std::span<const URL> urls,
                             const FileSystem& files) {
  checkIsOn(*queue_);
  const std::string root = repository.rootPath();
  if (!urls.empty() && !(urls.front().path() + "/").starts_with(root + "/")) {
    if (const std::optional<URL> present = files.filePathUrl(*repository.url()))
      noteFormerPlace(present->path(), root);
  }
  repository.addObservedURLs(urls, files);
}

void FolderRegistry::noteFormerPlace(const std::string& place, std::string_view present) {
  checkIsOn(*queue_);
  const MutexLock lock(mutex_);
  if (place != present && formerPlaces_.size() < kMaximumDisplaced) formerPlaces_.insert(place);
}

bool FolderRegistry::forgetFormerPlace(const std::string& place) {
  const MutexLock lock(mutex_);
  return formerPlaces_.erase(place) != 0;
}

bool FolderRegistry::isFormerPlace(const std::string& place) const {
  const MutexLock lock(mutex_);
  return formerPlaces_.contains(place);
}

void FolderRegistry::adoptShownItems(const URL& root, const FileIdentifier& identifier,
                                     ObservedPaths& observed, const FileSystem& files) {
  checkIsOn(*queue_);
  RootFinder inside({RootFinder::Root{root, identifier}}, files);
  RepositoryLookup lookup(repositories_, files);
  ShownItems(*allObservedFiles(), files)
      .forEachFolder([&](const FileIdentifier& folder, const URL& anItem,
                         const std::shared_ptr<PathSet>& items) {
        const std::shared_ptr<KPRepository> holder = lookup.repositoryForURL(anItem);
        if (!inside.firstRootOf(anItem) ||
            (holder != nullptr && holder->rootIdentifier() != identifier))
          return;
        if (folder == identifier) {
          observed.set(folder, items);
          return;
        }
        const std::shared_ptr<PathSet> own = observed.findOrCreate(folder);
        for (const std::string& path : items->paths()) own->add(path);
      });
}

void FolderRegistry::setApplicationPid(std::int32_t pid) {
  const bool wasThere = applicationPid_.exchange(pid) > 0;
  hasApplicationEnded_ = pid < 1 && (wasThere || hasApplicationEnded_);
}

void FolderRegistry::updateFolders() {
  UserDefaults* const defaults = defaults_.sharedApplicationGroupDefaults();
  const Object bookmarks = defaults != nullptr ? defaults->arrayForKey(kFoldersPathsKey) : Object();
  std::optional<ResolvedFolders> folders = resolveFolders(bookmarks, platform_.files);
  if (!folders) return;
  if (folders->error) {
    link_->sendSelector(selector::kShowError, *folders->error);
    return;
  }
  platform_.finder.setDirectoryURLs(std::move(folders->urls));
}

std::shared_ptr<ObservedPaths> FolderRegistry::allObservedFiles() const {
  const MutexLock lock(mutex_);
  return allObservedFiles_;
}

void FolderRegistry::setAllObservedFiles(std::shared_ptr<ObservedPaths> files) {
  const MutexLock lock(mutex_);
  allObservedFiles_.swap(files);
}

void FolderRegistry::requestRepository(const URL& folder, bool isRepeated,
                                       const FileSystem& files) {
  link_->sendSelector(
      selector::kOpenRepository,
      Dictionary{{selector::kOpenUrlKey, folder}, {selector::kOpenShallowKey, isRepeated}});
  folders_.addObservedDirectory(folder, folder.identifier(files));
}

std::shared_ptr<KPRepository> FolderRegistry::repositoryForURL(const URL& url,
                                                               const FileSystem& files) const {
  return RepositoryLookup(repositories_, files).repositoryForURL(url);
}

void FolderRegistry::noteFolder(const URL& url, const FileSystem& files) {
  checkIsOn(*queue_);
  goneFolders_.erase(url.path());
  const std::optional<URL> parent = url.parentUrl(files);
  const std::optional<FileIdentifier> identifier =
      parent ? parent->identifier(files) : std::nullopt;
  if (identifier && !url.isPackage(files)) folders_.addInactiveFolder(*identifier, url);
}

void FolderRegistry::noteItems(const std::vector<URL>& urls, const FileSystem& files) {
  checkIsOn(*queue_);
  const std::shared_ptr<ObservedPaths> all = allObservedFiles();
  FolderRun run;
  std::optional<FileIdentifier> identifier;  // of the run's folder
  std::shared_ptr<PathSet> items;            // in it
  for (const URL& url : urls) {
    if (!run.goesOnWith(url)) {
      const std::optional<URL> parent = url.parentUrl(files);
      identifier = parent ? parent->identifier(files) : std::nullopt;
      if (parent) goneFolders_.erase(parent->path());
      items = identifier ? all->findOrCreate(*identifier) : nullptr;
    }
    if (items == nullptr) continue;
    items->add(url.path());
    const ResourceValues item = files.resourceValues(url);
    if (item.isDirectory && !item.isPackage) folders_.addInactiveFolder(*identifier, url);
  }
}

}  // namespace kelpie
