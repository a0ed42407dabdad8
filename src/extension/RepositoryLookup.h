#pragma once

#include <memory>

#include "extension/RepositoryTable.h"
#include "extension/RootFinder.h"
#include "foundation/URL.h"

namespace kelpie {

// Finds the open repository that holds a URL: the first one, in the table's order, whose root
// folder equals the URL or is a parent of it. A repository that has lost its place (see
// KPRepository::isInPlace), or whose identifier the main application has taken away, holds nothing.
// Costs looks at the folders above the URL and at the roots
// found there, however many repositories are open. For one piece of work; it does not see
// repositories come and go. Single-threaded.
class RepositoryLookup {
 public:
  // Both are borrowed. `files` best looks at each path once: see MemoFileSystem.
  RepositoryLookup(const RepositoryTable& table, const FileSystem& files);

  // Null when no open repository holds it.
  std::shared_ptr<KPRepository> repositoryForURL(const URL& url);
  // False once the table has changed.
  bool isCurrent() const { return table_.all() == all_; }

 private:
  const RepositoryTable& table_;
  std::shared_ptr<const RepositoryTable::Repositories> all_;
  RepositoryTable::Repositories repositories_;  // those that can hold something
  RootFinder roots_;                            // of repositories_
};

}  // namespace kelpie
