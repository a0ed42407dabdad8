#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "foundation/FunctionRef.h"
#include "foundation/Mutex.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "protocol/StatusWord.h"
#include "status/DeletedUrls.h"
#include "status/IgnoredUrls.h"
#include "status/ItemPlaces.h"
#include "status/StatusInfo.h"
#include "status/StatusTable.h"
#include "status/UrlList.h"

namespace kelpie {

// The values of a repository that its update queue writes while the controller's queue and the main
// queue read and write them as well, behind one lock. Nothing is asked of the file system and
// nothing handed to the file manager while it is held. Any thread.
class RepositoryStatus {
 public:
  RepositoryStatus(std::optional<URL> root, std::optional<URL> gitUrl)
      : root_(std::move(root)), gitUrl_(std::move(gitUrl)) {}
  RepositoryStatus(const RepositoryStatus&) = delete;
  RepositoryStatus& operator=(const RepositoryStatus&) = delete;

  std::int64_t state() const;
  void setState(std::int64_t state);
  bool isDirty() const;
  void setDirty(bool dirty);
  bool isRealDirty() const;
  void setRealDirty(bool realDirty);
  Object createdDirectories() const;
  void setCreatedDirectories(Object directories);
  std::optional<URL> gitUrl() const;
  void setGitUrl(std::optional<URL> url);
  // Never null, like the two below.
  std::shared_ptr<const UrlList> dirtyUrls() const;
  void setDirtyUrls(std::shared_ptr<const UrlList> urls);
  std::shared_ptr<const IgnoredUrls> ignoredUrls() const;
  void setIgnoredUrls(std::shared_ptr<const IgnoredUrls> urls);
  std::shared_ptr<const DeletedUrls> deletedUrls() const;
  void setDeletedUrls(std::shared_ptr<const DeletedUrls> urls);

  // Replaces all that a status dictionary brings but the state, at once; `info` is left with what
  // was there before. Does nothing after end().
  void exchange(StatusInfo& info);
  // There are no entries any more, and never will be.
  void end();
  // Does nothing after end().
  void setTable(std::optional<StatusTable> table);

  // As in StatusTable. Without a table there is no entry and nothing is recorded.
  std::optional<StatusWord> wordOf(const StatusTable::Key& key) const;
  std::optional<StatusWord> wordOrZeroOf(const StatusTable::Key& key) const;
  // Changes the word of an entry that there is.
  void change(const StatusTable::Key& key, StatusWord word);
  // Both record what was worked out while changes() gave `changes`, and do nothing when that is no
  // longer so: what rests on another status is wrong now. False then.
  bool record(const StatusTable::Key& key, StatusWord word, std::uint64_t changes);
  // The word that the item has then; missing when nothing was done.
  std::optional<StatusWord> recordIfMissing(const StatusTable::Key& key, StatusWord word,
                                            std::uint64_t changes);

  // Calls `visit` with the word of each of `count` items, missing without an entry. `keyOf` gives
  // the key of each by its position; an item without one is left out. Lets others in every now and
  // then; both are called with the lock held.
  void forEachWord(std::size_t count,
                   FunctionRef<std::optional<StatusTable::Key>(std::size_t position)> keyOf,
                   FunctionRef<void(std::optional<StatusWord> word)> visit) const;

  // Where the items lie.
  ItemPlaces places() const;
  std::uint64_t placesNumber() const;
  // A number that changes whenever many items may have got another badge than was chosen before: a
  // status came in, items were staged, the places changed. Recording an entry does not change it.
  std::uint64_t changes() const;

 private:
  const std::optional<URL> root_;
  mutable Mutex mutex_;
  std::int64_t state_ KELPIE_GUARDED_BY(mutex_) = 0;
  bool dirty_ KELPIE_GUARDED_BY(mutex_) = false;
  bool realDirty_ KELPIE_GUARDED_BY(mutex_) = false;
  std::optional<StatusTable> table_ KELPIE_GUARDED_BY(mutex_);  // missing before the first status
  Object createdDirectories_ KELPIE_GUARDED_BY(mutex_);
  std::optional<URL> gitUrl_ KELPIE_GUARDED_BY(mutex_);
  std::shared_ptr<const UrlList> dirtyUrls_ KELPIE_GUARDED_BY(mutex_) =
      std::make_shared<const UrlList>();
  std::shared_ptr<const IgnoredUrls> ignoredUrls_ KELPIE_GUARDED_BY(mutex_) =
      std::make_shared<const IgnoredUrls>();
  std::shared_ptr<const DeletedUrls> deletedUrls_ KELPIE_GUARDED_BY(mutex_) =
      std::make_shared<const DeletedUrls>();
  std::uint64_t placesNumber_ KELPIE_GUARDED_BY(mutex_) = 0;
  std::uint64_t changes_ KELPIE_GUARDED_BY(mutex_) = 0;
  bool ended_ KELPIE_GUARDED_BY(mutex_) = false;
};

}  // namespace kelpie
