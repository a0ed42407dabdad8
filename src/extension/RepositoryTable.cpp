#include "extension/RepositoryTable.h"

#include <utility>

#include "status/KPRepository.h"

namespace kelpie {

RepositoryTable::RepositoryTable() : all_(std::make_shared<const Repositories>()) {}

std::shared_ptr<KPRepository> RepositoryTable::find(const FileIdentifier& identifier) const {
  const MutexLock lock(mutex_);
  const auto place = places_.find(identifier);
  return place == places_.end() ? nullptr : (*all_)[place->second];
}

// Former repositories are ended, and former lists go, without the lock: a repository may wait for a
// badge that is being set.
void RepositoryTable::set(const FileIdentifier& identifier,
                          std::shared_ptr<KPRepository> repository, std::uint64_t clearings) {
  std::shared_ptr<const Repositories> formerList;
  std::shared_ptr<KPRepository> former;
  {
    const MutexLock lock(mutex_);
    if (clearings != clearings_) {
      former = std::move(repository);
    } else {
      auto changed = std::make_shared<Repositories>(*all_);
      const auto [place, isNew] = places_.try_emplace(identifier, changed->size());
      if (isNew) changed->emplace_back();
      former = std::exchange((*changed)[place->second], std::move(repository));
      formerList = std::exchange(all_, std::move(changed));
    }
  }
  if (former != nullptr) former->end();
}

void RepositoryTable::remove(const FileIdentifier& identifier) {
  std::shared_ptr<const Repositories> formerList;
  std::shared_ptr<KPRepository> former;
  {
    const MutexLock lock(mutex_);
    const auto found = places_.find(identifier);
    if (found == places_.end()) return;
    const std::size_t place = found->second;
    auto changed = std::make_shared<Repositories>(*all_);
    former = std::move((*changed)[place]);
    changed->erase(changed->begin() + static_cast<std::ptrdiff_t>(place));
    places_.erase(found);
    for (auto& [key, index] : places_)
      if (index > place) --index;
    formerList = std::exchange(all_, std::move(changed));
  }
  former->end();
}

void RepositoryTable::clear() {
  auto former = std::make_shared<const Repositories>();
  {
    const MutexLock lock(mutex_);
    all_.swap(former);
    places_.clear();
    ++clearings_;
  }
  for (const std::shared_ptr<KPRepository>& repository : *former) repository->end();
}

std::uint64_t RepositoryTable::clearings() const {
  const MutexLock lock(mutex_);
  return clearings_;
}

std::size_t RepositoryTable::size() const {
  const MutexLock lock(mutex_);
  return all_->size();
}

std::shared_ptr<const RepositoryTable::Repositories> RepositoryTable::all() const {
  const MutexLock lock(mutex_);
  return all_;
}

}  // namespace kelpie
