#include "status/RepositoryStatus.h"

#include <algorithm>
#include <utility>

namespace kelpie {
namespace {

// How many words are looked up before others get their turn: some tens of microseconds.
constexpr std::size_t kWordsInOneGo = 512;

}  // namespace

std::int64_t RepositoryStatus::state() const {
  const MutexLock lock(mutex_);
  return state_;
}

void RepositoryStatus::setState(std::int64_t state) {
  const MutexLock lock(mutex_);
  state_ = state;
}

bool RepositoryStatus::isDirty() const {
  const MutexLock lock(mutex_);
  return dirty_;
}

void RepositoryStatus::setDirty(bool dirty) {
  const MutexLock lock(mutex_);
  dirty_ = dirty;
}

bool RepositoryStatus::isRealDirty() const {
  const MutexLock lock(mutex_);
  return realDirty_;
}

void RepositoryStatus::setRealDirty(bool realDirty) {
  const MutexLock lock(mutex_);
  realDirty_ = realDirty;
}

Object RepositoryStatus::createdDirectories() const {
  const MutexLock lock(mutex_);
  return createdDirectories_;
}

void RepositoryStatus::setCreatedDirectories(Object directories) {
  const MutexLock lock(mutex_);
  std::swap(createdDirectories_, directories);
}

std::optional<URL> RepositoryStatus::gitUrl() const {
  const MutexLock lock(mutex_);
  return gitUrl_;
}

void RepositoryStatus::setGitUrl(std::optional<URL> url) {
  const MutexLock lock(mutex_);
  gitUrl_.swap(url);
  ++placesNumber_;
  ++changes_;
}

std::shared_ptr<const UrlList> RepositoryStatus::dirtyUrls() const {
  const MutexLock lock(mutex_);
  return dirtyUrls_;
}

void RepositoryStatus::setDirtyUrls(std::shared_ptr<const UrlList> urls) {
  const MutexLock lock(mutex_);
  dirtyUrls_.swap(urls);
}

std::shared_ptr<const IgnoredUrls> RepositoryStatus::ignoredUrls() const {
  const MutexLock lock(mutex_);
  return ignoredUrls_;
}

void RepositoryStatus::setIgnoredUrls(std::shared_ptr<const IgnoredUrls> urls) {
  const MutexLock lock(mutex_);
  ignoredUrls_.swap(urls);
  ++placesNumber_;
  ++changes_;
}

std::shared_ptr<const DeletedUrls> RepositoryStatus::deletedUrls() const {
  const MutexLock lock(mutex_);
  return deletedUrls_;
}

void RepositoryStatus::setDeletedUrls(std::shared_ptr<const DeletedUrls> urls) {
  const MutexLock lock(mutex_);
  deletedUrls_.swap(urls);
}

void RepositoryStatus::exchange(StatusInfo& info) {
  const std::size_t dirtyCount = info.dirtyUrls->count();
  const MutexLock lock(mutex_);
  if (ended_) return;
  table_.swap(info.status);
  std::swap(createdDirectories_, info.createdDirectories);
  dirtyUrls_.swap(info.dirtyUrls);
  ignoredUrls_.swap(info.ignoredUrls);
  deletedUrls_.swap(info.deletedUrls);
  dirty_ = dirtyCount != 0;
  realDirty_ = dirtyCount != info.newCount;
  ++placesNumber_;
  tableSince_ = ++changes_;
}

void RepositoryStatus::end() {
  std::optional<StatusTable> former;  // goes after the lock
  const MutexLock lock(mutex_);
  table_.swap(former);
  ended_ = true;
  ++changes_;
}

void RepositoryStatus::setTable(std::optional<StatusTable> table) {
  const MutexLock lock(mutex_);
  if (ended_) return;
  table_.swap(table);
  tableSince_ = ++changes_;
}

std::optional<StatusWord> RepositoryStatus::wordOf(const StatusTable::Key& key) const {
  const MutexLock lock(mutex_);
  return table_ ? table_->wordOf(key) : std::nullopt;
}

std::optional<StatusWord> RepositoryStatus::wordOrZeroOf(const StatusTable::Key& key) const {
  const MutexLock lock(mutex_);
  return table_ ? table_->wordOrZeroOf(key) : std::nullopt;
}

void RepositoryStatus::change(const StatusTable::Key& key, StatusWord word) {
  const MutexLock lock(mutex_);
  if (!table_ || !table_->wordOrZeroOf(key)) return;
  table_->record(key, word);
  ++changes_;
}

bool RepositoryStatus::record(const StatusTable::Key& key, StatusWord word, std::uint64_t changes) {
  const MutexLock lock(mutex_);
  if (changes != changes_) return false;
  if (table_) table_->record(key, word);
  return true;
}

std::optional<StatusWord> RepositoryStatus::recordIfMissing(const StatusTable::Key& key,
                                                            StatusWord word,
                                                            std::uint64_t changes) {
  const MutexLock lock(mutex_);
  if (changes != changes_) return std::nullopt;
  return table_ ? table_->recordIfMissing(key, word) : word;
}

void RepositoryStatus::forEachWord(
    std::size_t count, FunctionRef<std::optional<StatusTable::Key>(std::size_t position)> keyOf,
    FunctionRef<void(std::optional<StatusWord> word)> visit) const {
  std::size_t position = 0;
  while (position < count) {
    const std::size_t end = std::min(count, position + kWordsInOneGo);
    const MutexLock lock(mutex_);
    for (; position < end; ++position) {
      const std::optional<StatusTable::Key> key = keyOf(position);
      if (key) visit(table_ ? table_->wordOf(*key) : std::nullopt);
    }
  }
}

ItemPlaces RepositoryStatus::places() const {
  const MutexLock lock(mutex_);
  return {root_, gitUrl_, ignoredUrls_, placesNumber_};
}

std::uint64_t RepositoryStatus::placesNumber() const {
  const MutexLock lock(mutex_);
  return placesNumber_;
}

std::uint64_t RepositoryStatus::changes() const {
  const MutexLock lock(mutex_);
  return changes_;
}

std::uint64_t RepositoryStatus::tableSince() const {
  const MutexLock lock(mutex_);
  return tableSince_;
}

}  // namespace kelpie
