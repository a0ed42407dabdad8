#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "agent/actions/TreeListing.h"

namespace kelpie::agent {

// The changes that an action is going to make to files. Paths are relative to the root of the
// working copy. A value.
struct PathPlan {
  // The new entry of each path that is touched, in the index and in the working folder, or nothing
  // if it is removed. A submodule's folder is left as it is.
  std::map<std::string, std::optional<TreeEntry>> targets;
  // The paths that the question counts: the others are consequences of these.
  std::set<std::string> items;
  // Why nothing can be planned, for people; empty when it can.
  std::string failure;

  static PathPlan failed(std::string why) {
    PathPlan plan;
    plan.failure = std::move(why);
    return plan;
  }
  bool has(const std::string& path) const { return targets.contains(path); }
  bool removes(const std::string& path) const {
    const auto target = targets.find(path);
    return target != targets.end() && !target->second;
  }
};

}  // namespace kelpie::agent
