#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "agent/actions/TreeListing.h"

namespace kelpie::agent {

// What an action is going to make of files. Paths are relative to the root of the working copy. A
// value.
struct PathPlan {
  // What becomes of each path that is touched, in the index and in the working folder: the entry,
  // or nothing. A submodule's folder is left as it is.
  std::map<std::string, std::optional<TreeEntry>> targets;
  // Those of them that the question counts: the others are there on account of these.
  std::set<std::string> items;
  // Why nothing can be planned, for people; empty: it can.
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
