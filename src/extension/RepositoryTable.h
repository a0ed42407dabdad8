#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "foundation/FileIdentifier.h"

namespace kelpie {

class KPRepository;

// The open repositories by their identifiers. What leaves the table, by whatever road, is ended;
// see KPRepository::end(). Any thread.
class RepositoryTable {
 public:
  using Repositories = std::vector<std::shared_ptr<KPRepository>>;

  RepositoryTable();

  // Null when there is none.
  std::shared_ptr<KPRepository> find(const FileIdentifier& identifier) const;
  // Adds or replaces; a replacement takes the former's place. If the table has been cleared since
  // clearings() gave `clearings`, the repository comes too late: it is ended, and not added.
  void set(const FileIdentifier& identifier, std::shared_ptr<KPRepository> repository,
           std::uint64_t clearings);
  void remove(const FileIdentifier& identifier);
  void clear();
  // How often the table was cleared.
  std::uint64_t clearings() const;
  std::size_t size() const;

  // All of them as they are now, in the order of their opening. Never null; does not change.
  std::shared_ptr<const Repositories> all() const;

 private:
  mutable std::mutex mutex_;
  std::unordered_map<FileIdentifier, std::size_t> places_;  // guarded by mutex_: indexes of all_
  std::shared_ptr<const Repositories> all_;                 // guarded by mutex_; replaced whole
  std::uint64_t clearings_ = 0;                             // guarded by mutex_
};

}  // namespace kelpie
