#pragma once

#include <memory>
#include <string>
#include <variant>

#include "agent/git/GitCommand.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// Reads the status of one working copy. Where a filter of the repository's own is not run, git
// takes a file for modified that may be as it was; such an item has the word kStatusUnknown. Any
// thread, but one reading at a time; blocks while git works.
class StatusReader {
 public:
  StatusReader(const GitCommand& git, WorkingCopy workingCopy)
      : git_(git.in(workingCopy.root)), workingCopy_(std::move(workingCopy)) {}

  // The status, or why there is none, in git's words.
  using Reading = std::variant<std::shared_ptr<const StatusSnapshot>, std::string>;
  Reading read(GCancellable* cancellable = nullptr) const;

 private:
  Arguments statusArguments(const ReadingRules& rules, GCancellable* cancellable,
                            bool& untrackedShown) const;
  // Takes back that files have changed of which git cannot know, since their filter is not run.
  void doubtFiltered(const ReadingRules& rules, std::vector<StatusItem>& items,
                     GCancellable* cancellable) const;

  GitCommand git_;
  WorkingCopy workingCopy_;
};

}  // namespace kelpie::agent
