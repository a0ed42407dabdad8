#include "extension/RootFinder.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace kelpie {

RootFinder::RootFinder(std::vector<URL> roots, const FileSystem& files)
    : roots_(std::move(roots)), files_(files) {
  identifiers_.reserve(roots_.size());
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    identifiers_.push_back(roots_[root].identifier(files_));
    if (identifiers_.back()) {
      byIdentifier_[*identifiers_.back()].push_back(root);
    }
  }
}

std::optional<std::size_t> RootFinder::firstRootOf(const URL& url) {
  const Indexes all = rootsOf(url);
  return all.empty() ? std::nullopt : std::optional(all.front());
}

RootFinder::Indexes RootFinder::rootsOf(const URL& url) {
  if (roots_.empty()) {
    return {};
  }
  const std::optional<FileIdentifier> identifier = url.identifier(files_);
  Indexes above;
  for (const Holder& holder : holdersAround(url)) {
    if (!identifier || holder.parent != identifier) {
      above.push_back(holder.root);
    }
  }
  const Indexes equal = rootsEqualTo(url, identifier);
  Indexes all;
  std::ranges::set_union(equal, above, std::back_inserter(all));
  return all;
}

RootFinder::Indexes RootFinder::rootsEqualTo(
    const URL& url, const std::optional<FileIdentifier>& identifier) const {
  if (identifier) {
    const auto found = byIdentifier_.find(*identifier);
    return found == byIdentifier_.end() ? Indexes() : found->second;
  }
  // What is not there equals itself only.
  Indexes equal;
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    if (roots_[root].isEqual(url, files_)) {
      equal.push_back(root);
    }
  }
  return equal;
}

const RootFinder::Holders& RootFinder::holdersAround(const URL& url) {
  const std::optional<URL> folder = url.parentUrl(files_);
  if (!folder) {
    return none_;
  }
  auto known = holders_.find(folder->path());
  if (known == holders_.end()) {
    known = holders_.emplace(folder->path(), holdersOf(*folder)).first;
  }
  return known->second;
}

// Only a root whose identifier stands somewhere on the way up can hold the folder; those few are
// then asked.
RootFinder::Holders RootFinder::holdersOf(const URL& folder) const {
  std::unordered_set<FileIdentifier> wayUp;
  for (std::optional<URL> cursor = folder; cursor; cursor = cursor->parentUrl(files_)) {
    if (const std::optional<FileIdentifier> identifier = cursor->identifier(files_)) {
      wayUp.insert(*identifier);
    }
  }
  Holders holders;
  for (std::size_t index = 0; index < roots_.size(); ++index) {
    const URL& root = roots_[index];
    if (!identifiers_[index] || !wayUp.contains(*identifiers_[index]) ||
        !root.isDirectory(files_)) {
      continue;
    }
    if (folder.isEqual(root, files_) || root.isParentOfUrl(folder, files_)) {
      const std::optional<URL> parent = root.parentUrl(files_);
      holders.push_back({index, parent ? parent->identifier(files_) : std::nullopt});
    }
  }
  return holders;
}

}  // namespace kelpie
