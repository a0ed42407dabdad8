#include "extension/RootFinder.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelpie {

namespace {

std::vector<RootFinder::Root> lookedAt(const std::vector<URL>& urls, const FileSystem& files) {
  std::vector<RootFinder::Root> roots;
  roots.reserve(urls.size());
  for (const URL& url : urls) roots.push_back({url, url.identifier(files)});
  return roots;
}

}  // namespace

RootFinder::RootFinder(const std::vector<URL>& roots, const FileSystem& files)
    : RootFinder(lookedAt(roots, files), files) {}

RootFinder::RootFinder(std::vector<Root> roots, const FileSystem& files)
    : roots_(std::move(roots)), files_(files) {
  for (std::size_t root = 0; root < roots_.size(); ++root)
    if (roots_[root].identifier)
      byIdentifier_[*roots_[root].identifier].push_back(root);
    else
      withoutIdentifier_.push_back(root);
}

bool RootFinder::isInPlace(std::size_t root) const {
  return roots_[root].url.identifier(files_) == roots_[root].identifier;
}

std::optional<std::size_t> RootFinder::firstRootOf(const URL& url) {
  if (roots_.empty()) return std::nullopt;
  const std::optional<FileIdentifier> identifier = url.identifier(files_);
  std::optional<std::size_t> first;
  const Indexes equal = rootsEqualTo(url, identifier);
  if (!equal.empty()) first = equal.front();
  for (const Holder& holder : holdersAround(url)) {
    if (first && holder.root >= *first) break;
    if (isAbove(holder, identifier)) first = holder.root;
  }
  return first;
}

RootFinder::Indexes RootFinder::rootsOf(const URL& url) {
  if (roots_.empty()) return {};
  const std::optional<FileIdentifier> identifier = url.identifier(files_);
  Indexes above;
  for (const Holder& holder : holdersAround(url))
    if (isAbove(holder, identifier)) above.push_back(holder.root);
  const Indexes equal = rootsEqualTo(url, identifier);
  Indexes all;
  std::ranges::set_union(equal, above, std::back_inserter(all));
  return all;
}

RootFinder::Indexes RootFinder::rootsEqualTo(
    const URL& url, const std::optional<FileIdentifier>& identifier) const {
  Indexes equal;
  if (identifier) {
    const auto found = byIdentifier_.find(*identifier);
    if (found == byIdentifier_.end()) return equal;
    std::ranges::copy_if(found->second, std::back_inserter(equal),
                         [this](std::size_t root) { return isInPlace(root); });
    return equal;
  }
  // An item that does not exist equals itself only.
  for (const std::size_t root : withoutIdentifier_)
    if (roots_[root].url.isEqual(url, files_)) equal.push_back(root);
  return equal;
}

bool RootFinder::isAbove(const Holder& holder, const std::optional<FileIdentifier>& item) {
  return !item || holder.parent != item;
}

const RootFinder::Holders& RootFinder::holdersAround(const URL& url) {
  if (run_.goesOnWith(url)) return *runHolders_;
  const std::optional<URL> folder = url.parentUrl(files_);
  runHolders_ = &none_;
  if (folder) {
    auto known = holders_.find(folder->path());
    if (known == holders_.end()) known = holders_.emplace(folder->path(), holdersOf(*folder)).first;
    runHolders_ = &known->second;
  }
  return *runHolders_;
}

// Only a root whose identifier stands somewhere on the way up can hold the folder; those few are
// then asked.
RootFinder::Holders RootFinder::holdersOf(const URL& folder) const {
  Indexes candidates;
  for (std::optional<URL> cursor = folder; cursor; cursor = cursor->parentUrl(files_)) {
    const std::optional<FileIdentifier> identifier = cursor->identifier(files_);
    const auto found = identifier ? byIdentifier_.find(*identifier) : byIdentifier_.end();
    if (found == byIdentifier_.end()) continue;
    candidates.insert(candidates.end(), found->second.begin(), found->second.end());
  }
  std::ranges::sort(candidates);
  // clang 14 does not compile the result of std::ranges::unique().
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());

  Holders holders;
  for (const std::size_t index : candidates) {
    const URL& root = roots_[index].url;
    if (!isInPlace(index) || !root.isDirectory(files_)) continue;
    if (folder.isEqual(root, files_) || root.isParentOfUrl(folder, files_)) {
      const std::optional<URL> parent = root.parentUrl(files_);
      holders.push_back({index, parent ? parent->identifier(files_) : std::nullopt});
    }
  }
  return holders;
}

}  // namespace kelpie
