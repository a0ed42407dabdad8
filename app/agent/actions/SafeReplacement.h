#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/PathPlan.h"
#include "agent/actions/PathSurvey.h"
#include "agent/git/GitCommand.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// How an action replaces files that git may not be able to give back: it asks, looks again after
// the answer, puts aside content that is in no commit, and only then touches exactly what the
// question counted. Files that are new since the question stay; files that have changed since are
// asked about again. Blocks while git, or the user, answers.
class SafeReplacement {
 public:
  // One working copy that is touched: that of the action, or one of its submodules.
  struct Site {
    WorkingCopy workingCopy;
    PathPlan plan;
    std::shared_ptr<const StatusSnapshot> status;
    PathSurvey survey = {};
  };
  using Sites = std::vector<Site>;

  struct Parts {
    // The plans by the present state, that of the action's own working copy first; or the action's
    // outcome.
    std::function<std::variant<Sites, ActionOutcome>()> plan;
    // The question that comes before. Empty: nothing needs to be asked, unless something cannot
    // be put aside.
    std::function<std::string(const Sites&)> question;
    // Carries it out.
    std::function<ActionOutcome(const Sites&)> carryOut;
    // Whether more is touched than the plan at the time of the question: then everything new is
    // asked about, too.
    bool touchesAll = false;
    // The paths at stake (PathSurvey::atStake()) that the action may destroy; all of them when this
    // is null.
    std::function<std::set<std::string>(const Site&)> stakes = nullptr;
  };

  static ActionOutcome run(ActionJob& job, const Parts& parts);

  // The first few of the paths, as a question names them.
  static std::string named(const std::vector<std::string>& paths);

  // The present status; null when git does not tell it.
  static std::shared_ptr<const StatusSnapshot> statusOf(const GitCommand& git,
                                                        const WorkingCopy& workingCopy);
  // Gives the index and the working folder the entries of the plan. Nothing outside the plan is
  // touched. The index comes first, so that an index that is locked leaves all files alone.
  static ActionOutcome replace(const GitCommand& git, const Site& site);
  // Sets the index at these paths to `entries`, in git's own format.
  static ActionOutcome setIndex(const GitCommand& git, const std::vector<std::string>& removed,
                                const std::string& entries);
};

}  // namespace kelpie::agent
