#include "extension/RepositoryLookup.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "status/KPRepository.h"

namespace kelpie {

namespace {

RepositoryTable::Repositories thatHoldItems(RepositoryTable::Repositories repositories) {
  std::erase_if(repositories, [](const auto& repository) {
    return !repository->url() || !repository->rootIdentifier() || !repository->identifier();
  });
  return repositories;
}

std::vector<RootFinder::Root> rootsOf(const RepositoryTable::Repositories& repositories) {
  std::vector<RootFinder::Root> roots;
  roots.reserve(repositories.size());
  for (const std::shared_ptr<KPRepository>& repository : repositories)
    roots.push_back({*repository->url(), repository->rootIdentifier()});
  return roots;
}

}  // namespace

RepositoryLookup::RepositoryLookup(const RepositoryTable& table, const FileSystem& files)
    : table_(table),
      all_(table.all()),
      repositories_(thatHoldItems(*all_)),
      roots_(rootsOf(repositories_), files) {}

std::shared_ptr<KPRepository> RepositoryLookup::repositoryForURL(const URL& url) {
  const std::optional<std::size_t> root = roots_.firstRootOf(url);
  return root ? repositories_[*root] : nullptr;
}

}  // namespace kelpie
