#include "status/KPBadge.h"

#include <array>

namespace kelpie {

std::span<const KPBadge::Entry> KPBadge::badges() {
  static const std::array<Entry, 13> table{{
      {kCurrent, {"CurrentBadge"}},
      {kIndexNew, {"IndexNewBadge"}},
      {kIndexModified, {"IndexModifiedBadge"}},
      {kIndexDeleted, {"IndexDeletedBadge"}},
      {kIndexRenamed, {"IndexRenamedBadge"}},
      {kIndexTypeChanged, {"IndexTypeChangedBadge"}},
      {kWorkdirNew, {"WorkdirNewBadge"}},
      {kWorkdirModified, {"WorkdirModifiedBadge"}},
      {kWorkdirDeleted, {"WorkdirDeletedBadge"}},
      {kWorkdirTypeChanged, {"WorkdirTypeChangedBadge"}},
      {kWorkdirRenamed, {"WorkdirRenamedBadge"}},
      {kIgnored, {"IgnoredBadge"}},
      {kConflicted, {"ConflictedBadge"}},
  }};
  return table;
}

}  // namespace kelpie
