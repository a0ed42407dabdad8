#include "status/IgnoredUrls.h"

#include "foundation/URL.h"

namespace kelpie {

bool IgnoredUrls::contains(std::string_view path, const std::optional<FileIdentifier>& identifier,
                           const FileSystem& files) const {
  if (empty() || !identifier) return false;
  const std::shared_ptr<const Index> known = index(files);
  // Something is there, and one path names one file.
  if (known->paths.contains(path)) return true;
  // The other way round needs a new look: the item may have gone since, and its identifier may have
  // passed to another file.
  const auto found = known->byIdentifier.find(*identifier);
  if (found == known->byIdentifier.end()) return false;
  const URL url = URL::fileURLWithPath(urls_.path(found->second));
  return files.resourceValues(url).identifier == identifier;
}

std::shared_ptr<const IgnoredUrls::Index> IgnoredUrls::index(const FileSystem& files) const {
  {
    const MutexLock lock(mutex_);
    if (index_ != nullptr) return index_;
  }
  const auto made = std::make_shared<Index>();
  for (std::size_t i = 0; i < urls_.size(); ++i) {
    if (!urls_.isFileURL(i)) continue;
    if (!made->paths.insert(urls_.path(i)).second) continue;
    const auto identifier = files.resourceValues(URL::fileURLWithPath(urls_.path(i))).identifier;
    if (identifier) made->byIdentifier.emplace(*identifier, i);
  }
  const MutexLock lock(mutex_);
  if (index_ == nullptr) index_ = made;
  return index_;
}

}  // namespace kelpie
