#include "status/FolderTally.h"

namespace kelpie {

// A word with the bit is counted there.
struct FolderTally::CountRule {
  StatusWord bit;
  Counter counter;
};

// In the order in which they are tried: neither that of the bits nor that of the badges.
const std::array<FolderTally::CountRule, 12> FolderTally::kCountRules{{
    {KPStatusConflicted, Conflicted},
    {KPStatusIgnored, Nothing},  // does not count
    {KPStatusWorkdirModified, WorkdirModified},
    {KPStatusWorkdirNew, WorkdirNew},
    {KPStatusWorkdirDeleted, WorkdirDeleted},
    {KPStatusWorkdirRenamed, WorkdirRenamed},
    {KPStatusWorkdirTypeChanged, WorkdirTypeChanged},
    {KPStatusIndexModified, IndexModified},
    {KPStatusIndexNew, IndexNew},
    {KPStatusIndexDeleted, IndexDeleted},
    {KPStatusIndexRenamed, IndexRenamed},
    {KPStatusIndexTypeChanged, IndexTypeChanged},
}};

// With an item of `counter`, the folder is `all` if the items of `counter` are all there are, alone
// or together with those of `partner`, and `mixed` otherwise.
struct FolderTally::StatusRule {
  Counter counter;
  Counter partner;
  StatusWord all;
  StatusWord mixed;
};

const std::array<FolderTally::StatusRule, 11> FolderTally::kStatusRules{{
    {Conflicted, Nothing, KPStatusConflicted, KPStatusConflicted},
    {WorkdirModified, Nothing, KPStatusWorkdirModified, KPStatusWorkdirModified},
    {WorkdirNew, IndexNew, KPStatusWorkdirNew, KPStatusWorkdirModified},
    {WorkdirDeleted, IndexDeleted, KPStatusWorkdirDeleted, KPStatusWorkdirModified},
    {WorkdirRenamed, IndexRenamed, KPStatusWorkdirRenamed, KPStatusWorkdirModified},
    {WorkdirTypeChanged, IndexTypeChanged, KPStatusWorkdirTypeChanged, KPStatusWorkdirModified},
    {IndexModified, Nothing, KPStatusIndexModified, KPStatusIndexModified},
    {IndexNew, Nothing, KPStatusIndexNew, KPStatusIndexModified},
    {IndexDeleted, Nothing, KPStatusIndexDeleted, KPStatusIndexModified},
    {IndexRenamed, Nothing, KPStatusIndexRenamed, KPStatusIndexModified},
    {IndexTypeChanged, Nothing, KPStatusIndexTypeChanged, KPStatusIndexModified},
}};

void FolderTally::add(StatusWord word) {
  for (const CountRule& rule : kCountRules) {
    if ((word & rule.bit) == 0) continue;
    if (rule.counter == Nothing)
      leaveOut();
    else
      ++counts_[rule.counter];
    return;
  }
}

StatusWord FolderTally::status() const {
  for (const StatusRule& rule : kStatusRules) {
    const std::size_t count = counts_[rule.counter];
    if (count == 0) continue;
    const bool alone = count == total_ || count + counts_[rule.partner] == total_;
    return alone ? rule.all : rule.mixed;
  }
  return KPStatusCurrent;
}

}  // namespace kelpie
