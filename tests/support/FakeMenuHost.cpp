#include "support/FakeMenuHost.h"

#include <algorithm>
#include <optional>
#include <string>

#include "protocol/MessageKeys.h"
#include "status/KPRepository.h"

namespace kelpie {

std::shared_ptr<KPRepository> FakeMenuHost::repositoryForURL(const URL& url,
                                                             const FileSystem& files) const {
  for (const std::shared_ptr<KPRepository>& repository : repositories) {
    const std::optional<URL>& root = repository->url();
    if (root && (root->isEqual(url, files) || root->isParentOfUrl(url, files))) return repository;
  }
  return nullptr;
}

std::vector<std::shared_ptr<KPRepository>> FakeMenuHost::repositoriesForURLs(
    const std::vector<URL>& urls, const FileSystem& files) const {
  std::vector<std::shared_ptr<KPRepository>> found;
  for (const URL& url : urls) {
    const std::shared_ptr<KPRepository> repository = repositoryForURL(url, files);
    if (repository == nullptr) continue;
    if (std::ranges::find(found, repository) == found.end()) found.push_back(repository);
  }
  return found;
}

void FakeMenuHost::sendMessage(const Dictionary& message, std::int32_t id) {
  events_.add("host.send " + std::to_string(id) + " " + message[kMessageSelectorKey].stringValue());
  sent.push_back({message, id});
}

}  // namespace kelpie
