#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "agent/git/RepositoryState.h"
#include "agent/git/StatusParser.h"
#include "agent/git/StatusTerms.h"
#include "foundation/Object.h"
#include "platform/FileSystem.h"
#include "protocol/StatusKeys.h"

namespace kelpie::agent {

// The status of one working copy at one time. Immutable, so any thread.
class StatusSnapshot {
 public:
  // `root` is the working folder. Where untracked items are not asked for, they are not watched
  // for either.
  StatusSnapshot(std::string root, RepositoryState state, std::vector<StatusItem> items,
                 bool untrackedShown);
  // As it was read under these terms. A part of it may be replaced by a later reading: the items
  // are in git's order.
  StatusSnapshot(std::string root, RepositoryState state, std::vector<StatusItem> items,
                 std::shared_ptr<const StatusTerms> terms);
  StatusSnapshot(const StatusSnapshot&) = delete;
  StatusSnapshot& operator=(const StatusSnapshot&) = delete;
  ~StatusSnapshot() = default;

  const std::string& root() const { return root_; }
  const std::vector<StatusItem>& items() const { return items_; }
  bool untrackedShown() const { return untrackedShown_; }
  // Null when no part of the status can be replaced.
  const std::shared_ptr<const StatusTerms>& terms() const { return terms_; }

  // The item at that path, relative to the root; null when it is unchanged.
  const StatusItem* itemAt(std::string_view path) const;

  // The argument of "setStatusInfo:". Items that are gone since git looked are left out. Blocks
  // while the file system tells the identifier of each item.
  Object toObject(const FileSystem& files) const;

 private:
  std::string root_;
  RepositoryState state_;
  std::vector<StatusItem> items_;
  bool untrackedShown_;
  std::shared_ptr<const StatusTerms> terms_;
  // Views of items_, made when the first item is looked for: most snapshots are only sent.
  mutable std::once_flag byPathMade_;
  mutable std::unordered_map<std::string_view, std::size_t> byPath_;
};

}  // namespace kelpie::agent
