#pragma once

#include <array>
#include <cstddef>

#include "protocol/StatusWord.h"

namespace kelpie {

// The state of a folder, from the status words of what lies in it: a conflict anywhere wins; a
// folder whose contents all share one kind of change has that kind; a mixture is modified.
class FolderTally {
 public:
  // For a folder of `total` items, among them those that add() will never see.
  explicit FolderTally(std::size_t total) : total_(total) {}

  // One of the items does not count after all.
  void leaveOut() { --total_; }
  void add(StatusWord word);

  // The folder's word. KPStatusCurrent when add() has seen nothing.
  StatusWord status() const;

 private:
  enum Counter : unsigned {
    Conflicted,
    WorkdirModified,
    WorkdirNew,
    WorkdirDeleted,
    WorkdirRenamed,
    WorkdirTypeChanged,
    IndexModified,
    IndexNew,
    IndexDeleted,
    IndexRenamed,
    IndexTypeChanged,
    Nothing,  // stays 0
    kCounters,
  };
  struct CountRule;
  struct StatusRule;
  static const std::array<CountRule, 12> kCountRules;
  static const std::array<StatusRule, 11> kStatusRules;

  std::size_t total_;
  std::array<std::size_t, kCounters> counts_{};
};

}  // namespace kelpie
