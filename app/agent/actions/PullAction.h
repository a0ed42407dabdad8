#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/IncomingFiles.h"

namespace kelpie::agent {

// A pull as git does it, by the user's settings for it, but in two steps: the fetched commits are
// examined before they are brought into the working folder. On the job's queue.
class PullAction {
 public:
  // `branch` is the full name there; the job's target is what is known of it here.
  PullAction(ActionJob& job, std::string remote, std::string branch)
      : job_(job), remote_(std::move(remote)), branch_(std::move(branch)) {}

  ActionOutcome run();

 private:
  enum class Rebase { No, Yes, WithMerges };

  std::string answerOf(const Arguments& arguments) const;
  // The setting's value, "true" or "false" for any spelling that git knows; empty when not set.
  std::string setting(const std::string& key) const;
  void readSettings();
  std::string forkPoint() const;
  ActionOutcome bringTogether();
  ActionOutcome rebase();
  ActionOutcome mergeFetched(const Arguments& options);
  ActionOutcome updateSubmodules() const;
  ActionOutcome change(const Arguments& arguments) const;

  ActionJob& job_;
  std::string remote_;
  std::string branch_;
  Rebase rebase_ = Rebase::No;
  std::string fastForward_;  // the option for it; empty: git's own way
  std::string forkPoint_;
  std::string fetched_;  // the commit
};

}  // namespace kelpie::agent
