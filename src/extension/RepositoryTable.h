#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "foundation/FileIdentifier.h"

namespace kelpie {

class KPRepository;

// The open repositories by their identifiers. Any thread.
class RepositoryTable {
 public:
  using Repositories = std::vector<std::shared_ptr<KPRepository>>;

  RepositoryTable();

  // Null when there is none.
  std::shared_ptr<KPRepository> find(const FileIdentifier& identifier) const;
  // Adds or replaces; a replacement takes the former's place.
  void set(const FileIdentifier& identifier, std::shared_ptr<KPRepository> repository);
  void clear();
  std::size_t size() const;

  // All of them as they are now, in the order of their opening. Never null; does not change.
  std::shared_ptr<const Repositories> all() const;

 private:
  mutable std::mutex mutex_;
  std::unordered_map<FileIdentifier, std::size_t> places_;  // guarded by mutex_: indexes of all_
  std::shared_ptr<const Repositories> all_;                 // guarded by mutex_; replaced whole
};

}  // namespace kelpie
