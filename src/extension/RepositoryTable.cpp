#include "extension/RepositoryTable.h"

#include <utility>

namespace kelpie {

RepositoryTable::RepositoryTable() : all_(std::make_shared<const Repositories>()) {}

std::shared_ptr<KPRepository> RepositoryTable::find(const FileIdentifier& identifier) const {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find(identifier);
  return place == places_.end() ? nullptr : (*all_)[place->second];
}

// Former repositories and lists end after the lock: what ends with a repository is not this
// table's business to hold up.
void RepositoryTable::set(const FileIdentifier& identifier,
                          std::shared_ptr<KPRepository> repository) {
  std::shared_ptr<const Repositories> former;
  const std::lock_guard lock(mutex_);
  auto changed = std::make_shared<Repositories>(*all_);
  const auto [place, isNew] = places_.try_emplace(identifier, changed->size());
  if (isNew) {
    changed->push_back(std::move(repository));
  } else {
    (*changed)[place->second] = std::move(repository);
  }
  former = std::exchange(all_, std::move(changed));
}

void RepositoryTable::clear() {
  auto former = std::make_shared<const Repositories>();
  const std::lock_guard lock(mutex_);
  all_.swap(former);
  places_.clear();
}

std::size_t RepositoryTable::size() const {
  const std::lock_guard lock(mutex_);
  return all_->size();
}

std::shared_ptr<const RepositoryTable::Repositories> RepositoryTable::all() const {
  const std::lock_guard lock(mutex_);
  return all_;
}

}  // namespace kelpie
