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

// The values of a repository that its update queue writes while the observer queue and the main
// thread read and write them as well, behind one lock. While the lock is held, neither the file
// system nor the file manager is called. Any thread.
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
  // Drops all entries for good.
  void end();
  // Does nothing after end().
  void setTable(std::optional<StatusTable> table);

  // As in StatusTable. Without a table there is no entry and nothing is recorded.
  std::optional<StatusWord> wordOf(const StatusTable::Key& key) const;
  std::optional<StatusWord> wordOrZeroOf(const StatusTable::Key& key) const;
  // Changes the word of an existing entry; does nothing without one.
  void change(const StatusTable::Key& key, StatusWord word);
  // Both record a word that was worked out while changes() returned `changes`. They do nothing, and
  // record() returns false, when changes() differs by now: the word was worked out from another
  // status.
  bool record(const StatusTable::Key& key, StatusWord word, std::uint64_t changes);
  // Returns the word that the item has then; absent when nothing was done.
  std::optional<StatusWord> recordIfMissing(const StatusTable::Key& key, StatusWord word,
                                            std::uint64_t changes);

  // Calls `visit` with the word of each of `count` items, absent without an entry. `keyOf` returns
  // the key of the item at a position; items without a key are left out. Both are called with the
  // lock held, which is released now and then so that others get in.
  void forEachWord(std::size_t count,
                   FunctionRef<std::optional<StatusTable::Key>(std::size_t position)> keyOf,
                   FunctionRef<void(std::optional<StatusWord> word)> visit) const;

  // Where the items lie.
  ItemPlaces places() const;
  std::uint64_t placesNumber() const;
  // A number that changes whenever many badges may be outdated: a status came in, items were
  // staged, the places changed. Recording an entry does not change it.
  std::uint64_t changes() const;
  // What changes() became when the present table came in: an entry that was absent while changes()
  // returned less was absent from another table.
  std::uint64_t tableSince() const;

 private:
  const std::optional<URL> root_;
  mutable Mutex mutex_;
  std::int64_t state_ KELPIE_GUARDED_BY(mutex_) = 0;
  bool dirty_ KELPIE_GUARDED_BY(mutex_) = false;
  bool realDirty_ KELPIE_GUARDED_BY(mutex_) = false;
  std::optional<StatusTable> table_ KELPIE_GUARDED_BY(mutex_);  // absent before the first status
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
  std::uint64_t tableSince_ KELPIE_GUARDED_BY(mutex_) = 0;
  bool ended_ KELPIE_GUARDED_BY(mutex_) = false;
};

}  // namespace kelpie
