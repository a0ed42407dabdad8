#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/FileIdentifier.h"
#include "foundation/FunctionRef.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/Mutex.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "platform/Platform.h"
#include "protocol/StatusWord.h"
#include "status/BadgeSetter.h"
#include "status/ItemKey.h"
#include "status/LookupCache.h"
#include "status/ObservedPaths.h"
#include "status/RepositoryStatus.h"
#include "status/UpdateQueue.h"
#include "status/UrlList.h"

namespace kelpie {

class KPRefsManager;
class KPReference;
class KPUserDefaults;

// What is known of one open working copy: the status word of every item that the main application
// has named, a few values beside them, and the references. It runs no git and reads no repository;
// it serves the menus and chooses the badges.
//
// Owned by the controller, which ends it when it drops it; work that waits on the update queue goes
// with it. The platform and the settings must outlive it.
//
// Threads: every operation may be called on any thread, and says where its work runs. Setters that
// take an Object are reached by messages of the main application; a value of a class that they
// cannot use counts as nil, 0 or NO.
class KPRepository : public std::enable_shared_from_this<KPRepository> {
 public:
  // A repository with the root folder `url` and the git directory `gitUrl`, for the items of
  // `observedPaths`, which it shares with the caller. Each may be absent. The first one made in the
  // process makes the deleted-item suffix.
  static std::shared_ptr<KPRepository> create(std::optional<URL> url, std::optional<URL> gitUrl,
                                              std::shared_ptr<ObservedPaths> observedPaths,
                                              const Platform& platform, KPUserDefaults& settings);
  ~KPRepository();
  // Ends the repository: work that waits on the update queue is dropped, no badge is set and
  // nothing is recorded any more. Waits for a badge that another thread is setting, but not for the
  // work on the update queue.
  void end();
  KPRepository(const KPRepository&) = delete;
  KPRepository& operator=(const KPRepository&) = delete;

  // The ending of the path of a placeholder that stands for a deleted item: a blank, the control
  // character SHIFT OUT, and a name. Absent before the process has made its first repository; then
  // no path is a placeholder.
  static std::optional<std::string_view> deletedFilesSuffix();

  // -- Properties --------------------------------------------------------------------------------

  // The root folder, as it was opened. A file reference follows the folder when that moves.
  const std::optional<URL>& url() const { return url_; }
  // The root folder's identifier when the repository was made; messages do not change it, unlike
  // identifier(). Absent when nothing was there.
  const std::optional<FileIdentifier>& rootIdentifier() const { return rootIdentifier_; }
  // Whether `url` still names the folder that it named when the repository was made. A repository
  // that has lost its place is not open any more. Costs one look at the file.
  bool isInPlace(const FileSystem& files = FileSystem::current()) const;
  // Whether the root folder, followed by its reference, has moved since the repository was made or
  // relocate() was last called. relocate() takes note of the new path.
  bool hasMoved(const FileSystem& files = FileSystem::current()) const;
  void relocate(const FileSystem& files = FileSystem::current());
  // That path; empty when nothing was there.
  std::string rootPath() const;
  // The root folder's identifier when the repository was made; "KPMessageTarget" of its messages.
  // Absent as well when it is too large to be read from a message.
  std::optional<FileIdentifier> identifier() const;
  void setIdentifier(const Object& identifier);
  std::optional<URL> gitUrl() const;
  void setGitUrl(const Object& url);
  // The table that the repository was made with, itself; null when it was made without one.
  const std::shared_ptr<ObservedPaths>& observedPaths() const { return observedPaths_; }
  // The state of the repository; 0 is the normal one.
  std::int64_t state() const;
  void setState(const Object& state);
  // Replaces all status entries: a dictionary from item keys to [status word, path].
  void setStatus(const Object& status);
  // Something is changed.
  bool isDirty() const;
  void setDirty(const Object& dirty);
  // Something other than new items is changed.
  bool isRealDirty() const;
  void setRealDirty(const Object& realDirty);
  // Menus show the repository's items disabled.
  bool isDisabled() const;
  void setDisabled(const Object& disabled);
  // Kept as it came; not read here.
  Object createdDirectoriesForDeletedItems() const;
  void setCreatedDirectoriesForDeletedItems(const Object& urls);
  // The changed items, the ignored items, and the placeholders of deleted items. Never null.
  std::shared_ptr<const UrlList> dirtyUrls() const;
  void setDirtyUrls(const Object& urls);
  std::shared_ptr<const UrlList> ignoredUrls() const;
  void setIgnoredUrls(const Object& urls);
  std::shared_ptr<const UrlList> deletedUrls() const;
  void setDeletedUrls(const Object& urls);
  // What is known of the references, and their menus. Never null.
  const std::shared_ptr<KPRefsManager>& refsManager() const { return refsManager_; }
  // Drops what is posted to it once the repository has ended or the queue is lost.
  std::shared_ptr<SerialQueue> updateQueue() const { return updateQueue_; }

  // -- Messages -----------------------------------------------------------------------------------

  // Handles a message of the main application on the update queue. For long messages, and for those
  // that come while a long one waits, so that all are handled in order. Every operation that a
  // message can name may be called there. The message is dropped when the repository ends or the
  // queue is lost.
  void handleLater(std::function<void(KPRepository& self)> handle);
  bool hasWaitingMessages() const { return waitingMessages_.use_count() > 1; }

  // -- Status intake: each returns at once, and works on the update queue ------------------------

  // Replaces the status by the one in the dictionary, and sets the badge of every item that the
  // file manager has shown anew. A bare repository uses only the state in it. Does nothing once
  // another folder stands in the root's place: the items there are not this repository's.
  void setStatusInfo(const Object& info);
  // The items of these URLs have just been staged, or unstaged: changes their entries and badges
  // ahead of the next status. A word without any bit would be searched for ever: the update queue
  // is then lost for good, but nothing else is. A lost queue holds nothing.
  void updateStagedStatus(const Object& urls);
  void updateUnstagedStatus(const Object& urls);

  // The word of an item after it was staged (or unstaged). Does not return for 0: the calling
  // thread is parked for good, without a lock and without using the processor.
  static StatusWord stagedStatusForStatus(StatusWord word);
  static StatusWord unstagedStatusForStatus(StatusWord word);

  // -- Questions about one item, on the caller's thread -------------------------------------------

  // The key of the item's entry: its identifier, else its path if that is a placeholder's; absent
  // for anything else.
  std::optional<ItemKey> identifierForUrl(const URL& url,
                                          const FileSystem& files = FileSystem::current()) const;
  // The item's status word; absent when it has no entry. Ask this once, and then the functions of
  // StatusWord.h, where several of the questions below would look the same item up.
  std::optional<StatusWord> statusOfItemAtURL(
      const URL& url, const FileSystem& files = FileSystem::current()) const;

  // As in StatusWord.h, by the item's word; false (0) without an entry.
  bool isStagedItemAtURL(const URL& url, const FileSystem& files = FileSystem::current()) const;
  bool isUnstagedItemAtURL(const URL& url, const FileSystem& files = FileSystem::current()) const;
  bool isDiffableItemAtURL(const URL& url, const FileSystem& files = FileSystem::current()) const;
  bool isDiscardableItemAtURL(const URL& url,
                              const FileSystem& files = FileSystem::current()) const;
  bool isRevertableItemAtURL(const URL& url, const FileSystem& files = FileSystem::current()) const;
  bool isTrackedItemAtURL(const URL& url, const FileSystem& files = FileSystem::current()) const;
  std::int64_t isConflictedItemAtURL(const URL& url,
                                     const FileSystem& files = FileSystem::current()) const;

  // -- Badges -------------------------------------------------------------------------------------

  // The badge of a status word: its highest bit decides. Empty for words that have no badge.
  static std::string_view badgeIdentifierForStatus(StatusWord word);
  // Notes that the file manager has asked for the item's badge, and sets it. On the caller's
  // thread, but for folders: see updateStatusOfDirectoryURL().
  void addObservedURL(const URL& url, const FileSystem& files = FileSystem::current());
  // The same for each of many items, in order. The folders that they lie in are looked at once for
  // all neighbours, or, if other places come in meanwhile, once more.
  void addObservedURLs(std::span<const URL> urls, const FileSystem& files = FileSystem::current());
  // Decides the item's badge and sets it. On the caller's thread, but for folders.
  void updateBadgeIdentifierForURL(const URL& url, const FileSystem& files = FileSystem::current());
  // Sets one badge on many items: {"urls": …, "badge": …}. On the caller's thread.
  void updateBadges(const Object& info);

  // -- Folders ------------------------------------------------------------------------------------

  // Works out the state of a folder from its contents, records it and sets its badge. Returns at
  // once and works on the update queue. Only the list of changed items is that of the moment of the
  // call; everything else is read later.
  void updateStatusOfDirectoryURL(const URL& folder);
  // Whether a folder above the item and below the root is ignored. On the caller's thread.
  bool isParentIgnoredUrl(const URL& url) const;

  // -- Of the system's operations, but called by nothing in this project --------------------------

  enum Enumeration : int { kEnumerated = 0, kEnumerationStopped = 1, kEnumerationFailed = -1 };
  // Calls `handler` for every item below the folder that is not a folder, leaving out ignored
  // folders. Stops when `exitCondition` is true before an item, and fails at the first error;
  // `error` (may be null) receives that error, or nothing. On the caller's thread.
  Enumeration enumerateUrl(const URL& folder, FunctionRef<void(const URL& url)> handler,
                           const bool& exitCondition, std::optional<Error>* error) const;

 private:
  // The state that the folders of one message, or of one burst of requests, share.
  struct Work {
    std::vector<std::string> folders;    // the paths of those that were given to the update queue
    std::unique_ptr<LookupCache> cache;  // made for the first of them
  };
  using WordChange = StatusWord (*)(StatusWord word);

  KPRepository(std::optional<URL> url, std::optional<URL> gitUrl,
               std::shared_ptr<ObservedPaths> observedPaths, const Platform& platform,
               KPUserDefaults& settings);

  // On the update queue, unless the repository is gone by then.
  void post(std::function<void(KPRepository& self)> task);
  void loseUpdateQueue();
  // Whether another folder than the repository's own was seen at the root's place.
  bool isDisplacedBy(const ResourceValues& root) const;
  LookupCache& cacheFor(Work& work) const;

  // Whether the message was read beyond what its bytes can hold, and so must be dropped. Logs a
  // line if so.
  bool isRefused(const Object& argument) const;

  // On the update queue.
  void applyStatus(const Object& info);
  void observeRenamedItems(const Object& pathsOfFolders);
  void changeStatus(const Object& urls, WordChange change);
  void updateFolder(const URL& folder, const std::shared_ptr<const UrlList>& dirtyUrls, Work& work,
                    std::optional<std::uint64_t> chosenAt);

  // The badge of an item without an entry.
  struct Choice {
    std::optional<std::string_view> badge;  // absent for a folder, whose badge follows
    bool isOutdated = false;                // another status has come in: nothing was recorded
  };

  static std::optional<ItemKey> keyOf(const URL& url, const ResourceValues& item);
  // The set of the folder that holds the item; null when there is none or nothing is noted.
  std::shared_ptr<PathSet> observedPathsAround(const URL& url, const FileSystem& files) const;
  // Decides the item's badge and sets it. False when the status has changed since status_.changes()
  // returned `changes`: the badge must then be decided again. `work` is null for a request that
  // belongs to no message.
  bool updateBadge(const URL& url, const ResourceValues& item, LookupCache& cache,
                   const std::shared_ptr<Work>& work, std::uint64_t changes);
  // The same for work on the update queue, as often as needed.
  void settleBadge(const URL& url, const ResourceValues& item, const std::shared_ptr<Work>& work);
  Choice chooseBadge(const URL& url, const ResourceValues& item, const ItemKey& key,
                     LookupCache& cache, const std::shared_ptr<Work>& work, std::uint64_t changes);
  bool showsFolderStatus() const;
  // Works out the folder's badge on the update queue. `chosenAt` is the status_.changes() at which
  // it was seen to have no entry; absent when it is to be worked out whatever its entry.
  void postFolder(const URL& folder, std::shared_ptr<Work> work,
                  std::optional<std::uint64_t> chosenAt);

  const Platform platform_;
  KPUserDefaults& settings_;
  const std::optional<URL> url_;
  const std::optional<FileIdentifier> rootIdentifier_;
  const std::shared_ptr<ObservedPaths> observedPaths_;
  const std::shared_ptr<KPRefsManager> refsManager_;
  const std::shared_ptr<UpdateQueue> updateQueue_;
  BadgeSetter badges_;
  RepositoryStatus status_;
  // Each message that waits holds it, also in a queue that drops its work.
  const std::shared_ptr<const bool> waitingMessages_ = std::make_shared<const bool>();

  mutable Mutex mutex_;
  std::optional<FileIdentifier> identifier_ KELPIE_GUARDED_BY(mutex_);
  std::string rootPath_ KELPIE_GUARDED_BY(mutex_);
  bool disabled_ KELPIE_GUARDED_BY(mutex_) = false;
  // The requests that wait, none of which has begun.
  std::shared_ptr<Work> openWork_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
