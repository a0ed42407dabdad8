#include "extension/RepositoryLookup.h"

#include <optional>
#include <utility>
#include <vector>

#include "status/KPRepository.h"

namespace kelpie {

namespace {

RepositoryTable::Repositories withRoot(RepositoryTable::Repositories repositories) {
  std::erase_if(repositories, [](const auto& repository) { return !repository->url(); });
  return repositories;
}

std::vector<URL> rootsOf(const RepositoryTable::Repositories& repositories) {
  std::vector<URL> roots;
  roots.reserve(repositories.size());
  for (const std::shared_ptr<KPRepository>& repository : repositories) {
    roots.push_back(*repository->url());
  }
  return roots;
}

}  // namespace

RepositoryLookup::RepositoryLookup(const RepositoryTable& table, const FileSystem& files)
    : table_(table),
      all_(table.all()),
      repositories_(withRoot(*all_)),
      roots_(rootsOf(repositories_), files) {}

std::shared_ptr<KPRepository> RepositoryLookup::repositoryForURL(const URL& url) {
  const std::optional<std::size_t> root = roots_.firstRootOf(url);
  return root ? repositories_[*root] : nullptr;
}

}  // namespace kelpie
