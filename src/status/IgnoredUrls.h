#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "foundation/FileIdentifier.h"
#include "foundation/Mutex.h"
#include "platform/FileSystem.h"
#include "status/UrlList.h"

namespace kelpie {

// The list of ignored items that came with one status, made to be asked about many folders. The
// files of the list are looked at once, when it is first asked; an answer that rests on that look
// is made sure of. Any thread; the file system is asked without a lock held.
class IgnoredUrls {
 public:
  IgnoredUrls() = default;
  explicit IgnoredUrls(UrlList urls) : urls_(std::move(urls)) {}
  IgnoredUrls(const IgnoredUrls&) = delete;
  IgnoredUrls& operator=(const IgnoredUrls&) = delete;

  bool empty() const { return urls_.count() == 0; }
  const UrlList& urls() const { return urls_; }

  // Whether one of the URLs equals the folder, which was just looked at: the same file, however its
  // path is written. False for a folder without an identifier.
  bool contains(std::string_view path, const std::optional<FileIdentifier>& identifier,
                const FileSystem& files) const;

 private:
  struct Index {
    std::unordered_set<std::string_view> paths;  // borrowed from urls_
    std::unordered_map<FileIdentifier, std::size_t> byIdentifier;
  };
  std::shared_ptr<const Index> index(const FileSystem& files) const;

  const UrlList urls_{};
  mutable Mutex mutex_;
  // Null until it is first needed.
  mutable std::shared_ptr<const Index> index_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
