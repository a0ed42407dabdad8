#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/GitCommand.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/StatusTerms.h"
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

  struct Update {
    Reading reading;
    // Why the whole was read, for people; empty when only parts of it were.
    std::string whole;
  };
  // The same status, when since `known` (may be null) was read nothing has changed but these places
  // of the working folder: git is asked for these alone where that gives the same.
  Update update(const StatusSnapshot* known, const ChangedPlaces& places,
                GCancellable* cancellable = nullptr) const;

 private:
  using Items = std::vector<StatusItem>;

  // What the user's and the repository's settings say now.
  StatusTerms askTerms(GCancellable* cancellable) const;
  // Git's answer for the paths, or for everything when there are none; or why there is none.
  std::variant<Items, std::string> ask(const StatusTerms& terms,
                                       const std::vector<std::string>& paths,
                                       GCancellable* cancellable) const;
  // Null when the whole has to be read; `whole` then says why.
  std::shared_ptr<const StatusSnapshot> readParts(const StatusSnapshot& known,
                                                  const std::vector<std::string>& paths,
                                                  GCancellable* cancellable,
                                                  std::string& whole) const;
  // Replaces the word of files whose filter is not run, since git cannot know whether they have
  // changed.
  void doubtFiltered(const ReadingRules& rules, Items& items, GCancellable* cancellable) const;

  GitCommand git_;
  WorkingCopy workingCopy_;
};

}  // namespace kelpie::agent
