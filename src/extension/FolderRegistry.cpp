#include "extension/FolderRegistry.h"

#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

#include "extension/MessageLink.h"
#include "extension/RepositoryLookup.h"
#include "foundation/Error.h"
#include "foundation/MemoFileSystem.h"
#include "platform/BookmarkResolution.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"

namespace kelpie {

namespace {

struct ResolvedFolders {
  std::vector<URL> urls;       // each text once
  std::optional<Error> error;  // the last one that a bookmark gave
};

// The folders that the bookmarks stand for, as far as they give any. Nothing at all when one of
// them is no data.
std::optional<ResolvedFolders> resolveFolders(const Object& bookmarks, const FileSystem& files) {
  ResolvedFolders folders;
  folders.urls.reserve(bookmarks.size());
  std::unordered_set<std::string> texts;
  for (const Object& bookmark : bookmarks.elements()) {
    const std::optional<Bytes> data = bookmark.data();
    if (!data) {
      return std::nullopt;
    }
    BookmarkResolution resolution = files.resolveBookmark(*data);
    if (resolution.error) {
      folders.error = std::move(resolution.error);
    }
    if (!resolution.url) {
      break;
    }
    URL url = files.fileReferenceUrl(*resolution.url).value_or(*resolution.url);
    if (texts.insert(url.absoluteString()).second) {
      folders.urls.push_back(std::move(url));
    }
  }
  return folders;
}

}  // namespace

FolderRegistry::FolderRegistry(const Platform& platform, KPUserDefaults& defaults,
                               std::shared_ptr<MessageLink> link)
    : platform_(platform),
      defaults_(defaults),
      link_(std::move(link)),
      allObservedFiles_(std::make_shared<ObservedPaths>()) {}

void FolderRegistry::beginObservingDirectoryAtURL(const URL& url) {
  const MemoFileSystem files(platform_.files);
  std::optional<std::vector<URL>> contents;
  if (applicationPid() > 0) {
    requestRepository(url, false, files);
    if (const std::shared_ptr<KPRepository> repository = repositoryForURL(url, files)) {
      contents = files.contentsOfDirectory(url);
      // Each item is looked at once: nothing is gained by remembering them all.
      repository->addObservedURLs(*contents, platform_.files);
    }
  }
  noteFolder(url, files);
  const std::optional<FileIdentifier> identifier = url.identifier(files);
  if (!identifier) {
    return;
  }
  const std::shared_ptr<PathSet> paths = allObservedFiles()->findOrCreate(*identifier);
  if (!contents) {
    contents = files.contentsOfDirectory(url);
  }
  for (const URL& item : *contents) {
    paths->add(item.path());
  }
}

void FolderRegistry::endObservingDirectoryAtURL(const URL& url) {
  const MemoFileSystem files(platform_.files);
  const std::optional<FileIdentifier> identifier = url.identifier(files);
  if (!identifier) {
    return;
  }
  if (applicationPid() > 0) {
    const std::shared_ptr<KPRepository> repository = repositoryForURL(url, files);
    if (repository != nullptr && repository->observedPaths() != nullptr) {
      repository->observedPaths()->remove(*identifier);
    }
  }
  allObservedFiles()->remove(*identifier);
  folders_.removeInactiveFolders(*identifier);
}

void FolderRegistry::requestBadgeIdentifiersForURLs(const std::vector<URL>& urls) {
  const MemoFileSystem files(platform_.files);
  std::optional<RepositoryLookup> lookup;
  for (const URL& url : urls) {
    if (applicationPid() > 0) {
      if (!lookup || !lookup->isCurrent()) {
        lookup.emplace(repositories_, files);
      }
      if (const std::shared_ptr<KPRepository> repository = lookup->repositoryForURL(url)) {
        repository->addObservedURL(url, files);
      }
    }
    noteItem(url, files);
  }
}

// Only the folder's own items reach the new repository: the folders below it that wait for an
// answer keep waiting, and what they show is handed over as the file manager asks for it again.
void FolderRegistry::openRepository(const URL& workingUrl, const URL& gitUrl,
                                    const FileIdentifier& identifier) {
  folders_.removeObservedDirectory(identifier);
  const auto observedPaths = std::make_shared<ObservedPaths>();
  observedPaths->set(identifier, allObservedFiles()->find(identifier));
  const std::shared_ptr<KPRepository> repository =
      KPRepository::create(workingUrl, gitUrl, observedPaths, platform_, defaults_);
  if (const std::optional<FileIdentifier> own = repository->identifier()) {
    repositories_.set(*own, repository);
  }
  repository->addObservedURL(workingUrl);
}

void FolderRegistry::updateFolders() {
  UserDefaults* const defaults = defaults_.sharedApplicationGroupDefaults();
  const Object bookmarks = defaults != nullptr ? defaults->arrayForKey(kFoldersPathsKey) : Object();
  std::optional<ResolvedFolders> folders = resolveFolders(bookmarks, platform_.files);
  if (!folders) {
    return;
  }
  if (folders->error) {
    link_->sendSelector("showError:", *folders->error);
    return;
  }
  platform_.finder.setDirectoryURLs(std::move(folders->urls));
}

std::shared_ptr<ObservedPaths> FolderRegistry::allObservedFiles() const {
  const std::lock_guard lock(mutex_);
  return allObservedFiles_;
}

void FolderRegistry::setAllObservedFiles(std::shared_ptr<ObservedPaths> files) {
  const std::lock_guard lock(mutex_);
  allObservedFiles_.swap(files);
}

void FolderRegistry::requestRepository(const URL& folder, bool isRepeated,
                                       const FileSystem& files) {
  link_->sendSelector("openRepository:portName:",
                      Dictionary{{"url", folder}, {"shallow", isRepeated}});
  folders_.addObservedDirectory(folder, folder.identifier(files));
}

std::shared_ptr<KPRepository> FolderRegistry::repositoryForURL(const URL& url,
                                                               const FileSystem& files) const {
  return RepositoryLookup(repositories_, files).repositoryForURL(url);
}

void FolderRegistry::noteFolder(const URL& url, const FileSystem& files) {
  const std::optional<URL> parent = url.parentUrl(files);
  const std::optional<FileIdentifier> identifier =
      parent ? parent->identifier(files) : std::nullopt;
  if (identifier && !url.isPackage(files)) {
    folders_.addInactiveFolder(*identifier, url);
  }
}

void FolderRegistry::noteItem(const URL& url, const FileSystem& files) {
  const std::optional<URL> parent = url.parentUrl(files);
  const std::optional<FileIdentifier> identifier =
      parent ? parent->identifier(files) : std::nullopt;
  if (!identifier) {
    return;
  }
  allObservedFiles()->findOrCreate(*identifier)->add(url.path());
  if (url.isDirectory(files) && !url.isPackage(files)) {
    folders_.addInactiveFolder(*identifier, url);
  }
}

}  // namespace kelpie
