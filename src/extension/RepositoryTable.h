#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/Mutex.h"

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
  mutable Mutex mutex_;
  // Indexes of all_.
  std::unordered_map<FileIdentifier, std::size_t> places_ KELPIE_GUARDED_BY(mutex_);
  std::shared_ptr<const Repositories> all_ KELPIE_GUARDED_BY(mutex_);  // replaced whole
  std::uint64_t clearings_ KELPIE_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelpie
