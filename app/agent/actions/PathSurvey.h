#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/actions/IndexListing.h"
#include "agent/actions/PathPlan.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/GitCommand.h"
#include "agent/git/StatusSnapshot.h"

namespace kelpie::agent {

// The present state of a plan's paths, and which of it git could not restore. A value.
class PathSurvey {
 public:
  struct State {
    WorkingFiles::Presence presence;
    std::vector<IndexEntry> index;
    // The file is as the index has it, so git can write it again.
    bool isClean = false;
    // The index only knows that the file is to be added.
    bool isIntended = false;

    // Whether nothing has changed between the two.
    bool isAs(const State& other) const {
      return presence == other.presence && index == other.index;
    }
  };

  // Absent when git does not tell. `status` is that of now, `git` runs in the root. Blocks.
  static std::optional<PathSurvey> of(const GitCommand& git, const PathPlan& plan,
                                      const StatusSnapshot& status);

  const State& at(const std::string& path) const { return states_.at(path); }
  // The paths whose content, in the working folder or in the index, is in no commit.
  const std::set<std::string>& atStake() const { return atStake_; }
  // Of those, the ones whose content in the working folder cannot be put aside: it is too large or
  // cannot be read.
  const std::set<std::string>& unkeepable() const { return unkeepable_; }
  // Folders that the plan takes out of the index, and that stay: they have a repository of their
  // own.
  const std::set<std::string>& stayingFolders() const { return stayingFolders_; }
  // What stands in the way of a path and is not part of the plan, for people; empty when nothing
  // does.
  const std::string& obstruction() const { return obstruction_; }

  // Whether a path differs from its state in `before`, which has all of them.
  bool differsFrom(const PathSurvey& before) const;

  // A file larger than the first limit, and files beyond the second in total, are not put aside.
  static constexpr std::uint64_t kLargestFile = std::uint64_t{128} << 20U;
  static constexpr std::uint64_t kLargestWhole = std::uint64_t{1} << 30U;

 private:
  void judge(const std::string& path, State& state, const StatusSnapshot& status,
             const IndexListing& index, const TreeListing& head);
  void limit(WorkingFiles& files);
  void findObstructions(const PathPlan& plan, WorkingFiles& files);

  std::map<std::string, State> states_;
  std::set<std::string> atStake_;
  std::set<std::string> unkeepable_;
  std::set<std::string> stayingFolders_;
  std::string obstruction_;
};

}  // namespace kelpie::agent
