#pragma once

#include <string>
#include <vector>

#include "e2e/random/Playground.h"

namespace kelpie {

// What a working copy was at first, so that it can be made so again, in its place: figures taken
// then and now can be compared. One thread.
class Baseline {
 public:
  // `place` has a commit, and nothing that is not in it; outlives this.
  explicit Baseline(const Playground& place);

  // Makes it what it was: files, commits, branches and settings. Objects that nothing needs any
  // more are thrown away. Returns what git had to say against it; empty as a rule.
  std::string restore() const;

 private:
  void restoreRepository() const;
  std::string run(std::vector<std::string> command) const;

  const Playground& place_;
  std::string config_;
  std::string exclude_;
  std::string commit_;
};

}  // namespace kelpie
