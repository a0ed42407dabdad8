#include "status/KPRepository.h"

#include <bit>
#include <utility>
#include <vector>

#include "foundation/FolderRun.h"
#include "foundation/ObjectView.h"
#include "platform/Log.h"
#include "platform/QueueCheck.h"
#include "refs/KPReference.h"
#include "refs/KPRefsManager.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/DeletedItem.h"
#include "status/FolderStatus.h"
#include "status/FolderWalk.h"
#include "status/KPBadge.h"
#include "status/StagedStatus.h"
#include "status/StatusInfo.h"

namespace kelpie {
namespace {

// By the position of a bit. Bits 7 and 13 share a badge.
constexpr std::string_view kBadgesOfBits[16] = {
    KPBadge::kIndexNew,       KPBadge::kIndexModified,      KPBadge::kIndexDeleted,
    KPBadge::kIndexRenamed,   KPBadge::kIndexTypeChanged,   KPBadge::kNone,
    KPBadge::kNone,           KPBadge::kWorkdirNew,         KPBadge::kWorkdirModified,
    KPBadge::kWorkdirDeleted, KPBadge::kWorkdirTypeChanged, KPBadge::kWorkdirRenamed,
    KPBadge::kNone,           KPBadge::kWorkdirNew,         KPBadge::kIgnored,
    KPBadge::kConflicted,
};

// Empty when there is none.
std::string presentPath(const std::optional<URL>& url, const FileSystem& files) {
  const std::optional<URL> path = url ? files.filePathUrl(*url) : std::nullopt;
  return path ? path->path() : std::string();
}

// The elements of an array that are URLs, in order. One may come any number of times; what is done
// for each takes some memory, and a copy of the path of a folder.
std::vector<URL> listedUrls(const ObjectView& array) {
  constexpr std::uint64_t kItem = 256;
  std::vector<URL> urls;
  urls.reserve(array.plausibleSize());
  array.forEachElement([&urls](const ObjectView& element) {
    const std::optional<URL> url = element.toObject().url();
    if (url && element.charge(kItem + url->path().size())) urls.push_back(*url);
    return true;
  });
  return urls;
}

void clearBadges(const ObservedPaths& items, BadgeSetter& badges) {
  for (const std::shared_ptr<PathSet>& set : items.sets())
    for (const std::string& path : set->paths())
      badges.set(KPBadge::kEmpty, URL::fileURLWithPath(path));
}

}  // namespace

std::shared_ptr<KPRepository> KPRepository::create(std::optional<URL> url,
                                                   std::optional<URL> gitUrl,
                                                   std::shared_ptr<ObservedPaths> observedPaths,
                                                   const Platform& platform,
                                                   KPUserDefaults& settings) {
  // The constructor is private, so that every repository is shared.
  return std::shared_ptr<KPRepository>(new KPRepository(  // NOLINT(cppcoreguidelines-owning-memory)
      std::move(url), std::move(gitUrl), std::move(observedPaths), platform, settings));
}

KPRepository::KPRepository(std::optional<URL> url, std::optional<URL> gitUrl,
                           std::shared_ptr<ObservedPaths> observedPaths, const Platform& platform,
                           KPUserDefaults& settings)
    : platform_(platform),
      settings_(settings),
      url_(std::move(url)),
      rootIdentifier_(url_ ? url_->identifier(platform.files) : std::nullopt),
      observedPaths_(std::move(observedPaths)),
      refsManager_(std::make_shared<KPRefsManager>(platform.bundle, platform.log)),
      updateQueue_(std::make_shared<UpdateQueue>(
          platform.queues.makeQueue(platform.bundle.identifier() + ".UpdateQueue"))),
      badges_(platform.finder),
      status_(url_, std::move(gitUrl)),
      identifier_(rootIdentifier_),
      rootPath_(presentPath(url_, platform.files)) {
  makeDeletedFilesSuffix();
}

KPRepository::~KPRepository() = default;

void KPRepository::end() {
  loseUpdateQueue();
  badges_.stop();
  status_.end();
}

std::optional<std::string_view> KPRepository::deletedFilesSuffix() {
  return kelpie::deletedFilesSuffix();
}

// -- Properties -----------------------------------------------------------------------------------

bool KPRepository::isInPlace(const FileSystem& files) const {
  return rootIdentifier_ && url_->identifier(files) == rootIdentifier_;
}

bool KPRepository::hasMoved(const FileSystem& files) const {
  const std::string path = presentPath(url_, files);
  const MutexLock lock(mutex_);
  return !path.empty() && path != rootPath_;
}

void KPRepository::relocate(const FileSystem& files) {
  std::string path = presentPath(url_, files);
  const MutexLock lock(mutex_);
  rootPath_.swap(path);
}

std::string KPRepository::rootPath() const {
  const MutexLock lock(mutex_);
  return rootPath_;
}

// With nothing at the root's place no item there can get a wrong badge.
bool KPRepository::isDisplacedBy(const ResourceValues& root) const {
  return rootIdentifier_ && root.identifier && root.identifier != rootIdentifier_;
}

std::optional<FileIdentifier> KPRepository::identifier() const {
  const MutexLock lock(mutex_);
  return identifier_;
}

void KPRepository::setIdentifier(const Object& identifier) {
  std::optional<FileIdentifier> value = FileIdentifier::fromObject(identifier);
  if (value && value->toObject().isNil()) value.reset();
  const MutexLock lock(mutex_);
  identifier_.swap(value);
}

std::optional<URL> KPRepository::gitUrl() const { return status_.gitUrl(); }

void KPRepository::setGitUrl(const Object& url) { status_.setGitUrl(url.url()); }

std::int64_t KPRepository::state() const { return status_.state(); }

void KPRepository::setState(const Object& state) { status_.setState(state.integerValue()); }

void KPRepository::setStatus(const Object& status) {
  std::optional<StatusTable> table = StatusInfo::readTable(status);
  if (!isRefused(status)) status_.setTable(std::move(table));
}

bool KPRepository::isDirty() const { return status_.isDirty(); }

void KPRepository::setDirty(const Object& dirty) { status_.setDirty(dirty.boolValue()); }

bool KPRepository::isRealDirty() const { return status_.isRealDirty(); }

void KPRepository::setRealDirty(const Object& realDirty) {
  status_.setRealDirty(realDirty.boolValue());
}

bool KPRepository::isDisabled() const {
  const MutexLock lock(mutex_);
  return disabled_;
}

void KPRepository::setDisabled(const Object& disabled) {
  const MutexLock lock(mutex_);
  disabled_ = disabled.boolValue();
}

Object KPRepository::createdDirectoriesForDeletedItems() const {
  return status_.createdDirectories();
}

void KPRepository::setCreatedDirectoriesForDeletedItems(const Object& urls) {
  status_.setCreatedDirectories(StatusInfo::detached(urls));
}

std::shared_ptr<const UrlList> KPRepository::dirtyUrls() const { return status_.dirtyUrls(); }

void KPRepository::setDirtyUrls(const Object& urls) {
  status_.setDirtyUrls(std::make_shared<const UrlList>(urls));
}

std::shared_ptr<const UrlList> KPRepository::ignoredUrls() const {
  const std::shared_ptr<const IgnoredUrls> ignored = status_.ignoredUrls();
  return {ignored, &ignored->urls()};
}

void KPRepository::setIgnoredUrls(const Object& urls) {
  status_.setIgnoredUrls(std::make_shared<const IgnoredUrls>(UrlList(urls)));
}

std::shared_ptr<const UrlList> KPRepository::deletedUrls() const {
  const std::shared_ptr<const DeletedUrls> deleted = status_.deletedUrls();
  return {deleted, &deleted->urls()};
}

void KPRepository::setDeletedUrls(const Object& urls) {
  status_.setDeletedUrls(std::make_shared<const DeletedUrls>(UrlList(urls)));
}

// -- Messages -------------------------------------------------------------------------------------

void KPRepository::handleLater(std::function<void(KPRepository& self)> handle) {
  post([waiting = waitingMessages_, handle = std::move(handle)](KPRepository& self) {
    handle(self);
  });
}

// -- Status intake --------------------------------------------------------------------------------

void KPRepository::setStatusInfo(const Object& info) {
  post([info](KPRepository& self) { self.applyStatus(info); });
}

void KPRepository::updateStagedStatus(const Object& urls) {
  post([urls](KPRepository& self) { self.changeStatus(urls, &kelpie::stagedStatusForStatus); });
}

void KPRepository::updateUnstagedStatus(const Object& urls) {
  post([urls](KPRepository& self) { self.changeStatus(urls, &kelpie::unstagedStatusForStatus); });
}

StatusWord KPRepository::stagedStatusForStatus(StatusWord word) {
  return kelpie::stagedStatusForStatus(word);
}

StatusWord KPRepository::unstagedStatusForStatus(StatusWord word) {
  return kelpie::unstagedStatusForStatus(word);
}

void KPRepository::post(std::function<void(KPRepository& self)> task) {
  updateQueue_->post([weak = weak_from_this(), task = std::move(task)] {
    if (const std::shared_ptr<KPRepository> self = weak.lock()) task(*self);
  });
}

void KPRepository::loseUpdateQueue() {
  updateQueue_->close();
  const MutexLock lock(mutex_);
  openWork_ = nullptr;
}

bool KPRepository::isRefused(const Object& argument) const {
  if (!argument.isRefused()) return false;
  platform_.log.write("A message for a repository says more than its bytes can hold; dropped.");
  return true;
}

void KPRepository::applyStatus(const Object& info) {
  checkIsOn(*updateQueue_);
  // The items now shown at the root's place are not this repository's. Once another repository is
  // opened there, this one ends.
  const ResourceValues rootSeen = url_ ? platform_.files.resourceValues(*url_) : ResourceValues();
  if (isDisplacedBy(rootSeen)) {
    if (observedPaths_ != nullptr) clearBadges(*observedPaths_, badges_);
    return;
  }
  const std::int64_t state = info[kRepositoryStateKey].integerValue();
  if (refsManager_->isBare()) {
    status_.setState(state);
    return;
  }
  StatusInfo status = StatusInfo::read(info);
  if (isRefused(info)) return;
  status_.setState(state);
  {
    const MutexLock lock(mutex_);  // see postFolder()
    status_.exchange(status);
  }
  if (observedPaths_ == nullptr) return;
  observeRenamedItems(info[kStatusRenamedItemsKey]);
  // Where the root has moved from, other items may stand by now, also when it has come back.
  const bool isElsewhere = hasMoved(platform_.files);
  const std::string root = rootPath() + "/";
  const auto work = std::make_shared<Work>();
  if (rootSeen.identifier) cacheFor(*work).rememberRoot(rootSeen);
  for (const std::shared_ptr<PathSet>& set : observedPaths_->sets()) {
    for (const std::string& path : set->paths()) {
      if (badges_.isStopped()) return;
      const URL url = URL::fileURLWithPath(path);
      LookupCache& cache = cacheFor(*work);
      const ResourceValues item = cache.look(url);
      const bool isDoubtful = isElsewhere || !(path + "/").starts_with(root);
      if (isDoubtful && !cache.isInRoot(url, item.identifier)) continue;
      settleBadge(url, item, work);
    }
  }
}

void KPRepository::observeRenamedItems(const Object& pathsOfFolders) {
  checkIsOn(*updateQueue_);
  const ObjectView view(pathsOfFolders);
  view.forEachEntry([this](ObjectView folder, ObjectView paths) {
    const auto identifier = FileIdentifier::fromObject(folder.toObject());
    if (!identifier || !folder.charge(identifier->bytes().size())) return true;
    const auto set = observedPaths_->find(*identifier);
    if (set == nullptr || paths.kind() != Object::Kind::Array) return true;
    paths.forEachElement([&set](ObjectView element) {
      // On top of the reading: each folder keeps a path of its own, which is looked at later.
      const std::optional<std::string> path = element.pathBytes();
      if (path && element.charge(path->size())) set->add(*path);
      return true;
    });
    return true;
  });
}

void KPRepository::changeStatus(const Object& urls, WordChange change) {
  checkIsOn(*updateQueue_);
  const auto work = std::make_shared<Work>();
  if (!urls.isArray() || cacheFor(*work).isDisplaced(rootIdentifier_)) return;
  const std::vector<URL> listed = listedUrls(urls);
  if (isRefused(urls)) return;
  std::vector<std::pair<URL, ResourceValues>> items;
  items.reserve(listed.size());
  for (const URL& url : listed) {
    const ResourceValues& item = items.emplace_back(url, cacheFor(*work).look(url)).second;
    const std::optional<ItemKey> key = keyOf(url, item);
    if (!key) continue;
    const std::optional<StatusWord> word = status_.wordOrZeroOf(*key);
    if (!word) continue;
    if (isEndlessStatus(*word)) {
      loseUpdateQueue();
      return;
    }
    status_.change(*key, change(*word));
  }
  for (const auto& [url, item] : items) settleBadge(url, item, work);
}

// -- Questions about one item ---------------------------------------------------------------------

std::optional<ItemKey> KPRepository::keyOf(const URL& url, const ResourceValues& item) {
  if (item.identifier) return ItemKey(*item.identifier);
  if (isPlaceholderPath(url.path())) return ItemKey(url.path());
  return std::nullopt;
}

std::optional<ItemKey> KPRepository::identifierForUrl(const URL& url,
                                                      const FileSystem& files) const {
  return keyOf(url, files.resourceValues(url));
}

std::optional<StatusWord> KPRepository::statusOfItemAtURL(const URL& url,
                                                          const FileSystem& files) const {
  const std::optional<ItemKey> key = identifierForUrl(url, files);
  return key ? status_.wordOf(*key) : std::nullopt;
}

bool KPRepository::isStagedItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word && isStagedStatus(*word);
}

bool KPRepository::isUnstagedItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word && isUnstagedStatus(*word);
}

bool KPRepository::isDiffableItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word && isDiffableStatus(*word);
}

bool KPRepository::isDiscardableItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word && isDiscardableStatus(*word);
}

bool KPRepository::isRevertableItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word && isRevertableStatus(*word);
}

bool KPRepository::isTrackedItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word && isTrackedStatus(*word);
}

std::int64_t KPRepository::isConflictedItemAtURL(const URL& url, const FileSystem& files) const {
  const std::optional<StatusWord> word = statusOfItemAtURL(url, files);
  return word ? conflictOfStatus(*word) : 0;
}

// -- Badges ---------------------------------------------------------------------------------------

std::string_view KPRepository::badgeIdentifierForStatus(StatusWord word) {
  if (word == 0) return KPBadge::kCurrent;
  return kBadgesOfBits[std::bit_width(word) - 1];
}

void KPRepository::addObservedURL(const URL& url, const FileSystem& files) {
  addObservedURLs(std::span(&url, 1), files);
}

void KPRepository::addObservedURLs(std::span<const URL> urls, const FileSystem& files) {
  FolderRun run;
  std::shared_ptr<PathSet> set;  // of the run's folder
  std::unique_ptr<LookupCache> cache;
  for (const URL& url : urls) {
    if (badges_.isStopped()) return;
    if (!run.goesOnWith(url)) set = observedPathsAround(url, files);
    if (set != nullptr) set->add(url.path());
    // A status that comes in while the badge is chosen and set may have set the right badge
    // already; the one chosen before must not replace that for good.
    for (bool isRight = false; !isRight;) {
      const std::uint64_t changes = status_.changes();
      if (cache == nullptr || cache->places().number != status_.placesNumber())
        cache = std::make_unique<LookupCache>(status_.places(), files);
      isRight = updateBadge(url, cache->look(url), *cache, nullptr, changes);
    }
  }
}

std::shared_ptr<PathSet> KPRepository::observedPathsAround(const URL& url,
                                                           const FileSystem& files) const {
  if (observedPaths_ == nullptr) return nullptr;
  const std::optional<URL> parent = url.parentUrl(files);
  const std::optional<FileIdentifier> folder = parent ? parent->identifier(files) : std::nullopt;
  return folder ? observedPaths_->findOrCreate(*folder) : nullptr;
}

void KPRepository::updateBadgeIdentifierForURL(const URL& url, const FileSystem& files) {
  // See addObservedURLs().
  for (bool isRight = false; !isRight;) {
    const std::uint64_t changes = status_.changes();
    LookupCache cache(status_.places(), files);
    isRight = updateBadge(url, cache.look(url), cache, nullptr, changes);
  }
}

void KPRepository::updateBadges(const Object& info) {
  const Object badge = info["badge"];
  if (!badge.isString()) return;
  const std::string identifier = badge.stringValue();
  const std::vector<URL> urls = listedUrls(info["urls"]);
  if (isRefused(info)) return;
  for (const URL& url : urls) badges_.set(identifier, url);
}

bool KPRepository::updateBadge(const URL& url, const ResourceValues& item, LookupCache& cache,
                               const std::shared_ptr<Work>& work, std::uint64_t changes) {
  if (badges_.isStopped()) return true;
  const std::optional<ItemKey> key = keyOf(url, item);
  std::optional<StatusWord> word;
  if (key) word = status_.wordOf(*key);
  Choice choice{KPBadge::kEmpty};
  if (word)
    choice.badge = badgeIdentifierForStatus(*word);
  else if (key)
    choice = chooseBadge(url, item, *key, cache, work, changes);
  if (choice.isOutdated) return false;
  if (choice.badge) badges_.set(*choice.badge, url);
  if (status_.changes() != changes) return false;
  // A folder's entry is replaced on its own, by updateFolder(), which sets the badge that goes with
  // it after that.
  return !word || !item.isDirectory || status_.wordOf(*key) == word;
}

void KPRepository::settleBadge(const URL& url, const ResourceValues& item,
                               const std::shared_ptr<Work>& work) {
  checkIsOn(*updateQueue_);
  for (bool isRight = false; !isRight;) {
    const std::uint64_t changes = status_.changes();
    isRight = updateBadge(url, item, cacheFor(*work), work, changes);
  }
}

KPRepository::Choice KPRepository::chooseBadge(const URL& url, const ResourceValues& item,
                                               const ItemKey& key, LookupCache& cache,
                                               const std::shared_ptr<Work>& work,
                                               std::uint64_t changes) {
  if (cache.isGitItem(url, item.identifier)) return {KPBadge::kEmpty};
  const bool isIgnored = cache.isParentIgnored(url);
  if (isIgnored || !item.isDirectory) {
    const std::optional<StatusWord> word =
        status_.recordIfMissing(key, isIgnored ? KPStatusIgnored : KPStatusCurrent, changes);
    if (!word) return {std::nullopt, true};
    return {badgeIdentifierForStatus(*word)};
  }
  if (!item.isPackage && !showsFolderStatus()) return {KPBadge::kEmpty};
  postFolder(url, work, changes);
  return {std::nullopt};
}

bool KPRepository::showsFolderStatus() const {
  const UserDefaults* defaults = settings_.sharedApplicationGroupDefaults();
  return defaults != nullptr && defaults->boolForKey(kShowFolderGitStatusKey);
}

// -- Folders --------------------------------------------------------------------------------------

void KPRepository::updateStatusOfDirectoryURL(const URL& folder) {
  postFolder(folder, nullptr, std::nullopt);
}

bool KPRepository::isParentIgnoredUrl(const URL& url) const {
  return LookupCache(status_.places(), platform_.files).isParentIgnored(url);
}

KPRepository::Enumeration KPRepository::enumerateUrl(const URL& folder,
                                                     FunctionRef<void(const URL& url)> handler,
                                                     const bool& exitCondition,
                                                     std::optional<Error>* error) const {
  const std::shared_ptr<const IgnoredUrls> ignored = status_.ignoredUrls();
  FolderWalk walk(folder, *ignored, platform_.files);
  Enumeration result = kEnumerated;
  while (const DirectoryEntry* entry = walk.next()) {
    if (exitCondition) {
      result = kEnumerationStopped;
      break;
    }
    if (entry->isDirectory)
      walk.skipIfIgnored(*entry);
    else
      handler(URL::fileURLWithPath(entry->path));
  }
  if (error != nullptr) *error = walk.error();
  return walk.error() ? kEnumerationFailed : result;
}

// The changed items are those of the moment of the call. A status that comes in waits meanwhile, so
// that work with an old list stands before the work that follows from the new status.
void KPRepository::postFolder(const URL& folder, std::shared_ptr<Work> work,
                              std::optional<std::uint64_t> chosenAt) {
  const MutexLock lock(mutex_);
  if (updateQueue_->isClosed()) return;
  const std::shared_ptr<const UrlList> dirtyUrls = status_.dirtyUrls();
  if (work == nullptr) {
    if (openWork_ == nullptr) openWork_ = std::make_shared<Work>();
    work = openWork_;
  } else if (work->cache != nullptr) {
    work->cache->contents().announce(folder.path());
  }
  work->folders.push_back(folder.path());
  post([folder, dirtyUrls, chosenAt, work = std::move(work)](KPRepository& self) {
    self.updateFolder(folder, dirtyUrls, *work, chosenAt);
  });
}

// A status that came in since the folder was chosen for want of an entry may have one for it, which
// counts: the folder is ignored, or a submodule.
void KPRepository::updateFolder(const URL& folder, const std::shared_ptr<const UrlList>& dirtyUrls,
                                Work& work, std::optional<std::uint64_t> chosenAt) {
  checkIsOn(*updateQueue_);
  {
    const MutexLock lock(mutex_);
    if (openWork_.get() == &work) openWork_ = nullptr;
  }
  while (!badges_.isStopped()) {
    const std::uint64_t changes = status_.changes();
    LookupCache& cache = cacheFor(work);
    if (cache.isDisplaced(rootIdentifier_)) return;
    const std::optional<FileIdentifier> identifier = cache.identifierOf(folder);
    if (identifier && chosenAt && status_.tableSince() > *chosenAt) {
      if (const std::optional<StatusWord> entry = status_.wordOf(*identifier))
        return badges_.set(badgeIdentifierForStatus(*entry), folder);
    }
    const StatusWord word = statusOfFolder(folder, dirtyUrls, status_, cache);
    // Recorded first: a thread that is about to set the badge of the former entry looks again.
    if (identifier && !status_.record(*identifier, word, changes)) continue;
    badges_.set(badgeIdentifierForStatus(word), folder);
    return;
  }
}

LookupCache& KPRepository::cacheFor(Work& work) const {
  if (work.cache == nullptr || work.cache->places().number != status_.placesNumber()) {
    work.cache = std::make_unique<LookupCache>(status_.places(), platform_.files);
    for (const std::string& folder : work.folders) work.cache->contents().announce(folder);
  }
  return *work.cache;
}

}  // namespace kelpie
