#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/StatusSnapshot.h"

namespace kelpie::agent {

// Looks on disk whether a change in some places can concern others as well. Any thread; blocks
// while the file system answers, and runs no program.
class PlaceSurvey {
 public:
  // `root`: the working folder, absolute. The places outlive this.
  PlaceSurvey(std::string root, const ChangedPlaces& places)
      : root_(std::move(root)), places_(places) {}

  // Why the whole status has to be read, for people; empty when that of the paths is enough, each
  // of which is one of the places or a folder around some. A repository of its own counts as one
  // item with all that is in it; and what is written to a file through one of its names changes the
  // file under the others, of which no watch tells.
  std::string objectionTo(const std::vector<std::string>& paths, const StatusSnapshot& known);

 private:
  bool isInRepository(std::string_view path);
  bool hasOtherName(const std::string& path);
  bool hasLink(const StatusSnapshot& known);

  std::string root_;
  const ChangedPlaces& places_;
  std::set<std::string, std::less<>> plainFolders_;  // those that are no repositories
  std::size_t looks_ = 0;
};

}  // namespace kelpie::agent
