#pragma once

#include <string>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/StatusSnapshot.h"

namespace kelpie::agent {

// What to ask git after something in the working folder has changed. A value.
struct StatusPlan {
  // Paths whose status, with that of all below them, tells everything that may have changed; none
  // of them lies below another one. Relative to the root, bytes, in order.
  std::vector<std::string> paths;
  // Why the status of the whole has to be read instead, for people; empty when the paths do.
  std::string whole;

  // Each path costs git a look at every entry of the index: as many as this take it about twice the
  // time of one.
  static constexpr std::size_t kMostPaths = 16;
  // The changed entries that are asked for by their names; of more, their folders are.
  static constexpr std::size_t kMostNames = 4;

  // `known` is the status before the change; null when there is none. Any thread; asks nobody.
  static StatusPlan of(const StatusSnapshot* known, const ChangedPlaces& places);
};

}  // namespace kelpie::agent
