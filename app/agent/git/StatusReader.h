#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// Reads the status of one working copy. Where a filter of the repository's own is not run, git may
// report an unchanged file as modified; such an item has the word kStatusUnknown. Any thread, but
// one reading at a time; blocks while git works.
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
  // Replaces the word of files whose filter is not run, since git cannot know whether they have
  // changed.
  void doubtFiltered(const ReadingRules& rules, std::vector<StatusItem>& items,
                     GCancellable* cancellable) const;

  GitCommand git_;
  WorkingCopy workingCopy_;
};

}  // namespace kelpie::agent
