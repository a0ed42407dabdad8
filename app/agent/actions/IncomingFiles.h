#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/PathPlan.h"
#include "agent/actions/SafeReplacement.h"
#include "agent/actions/TreeListing.h"
#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// The files that git brings into a working folder from other commits. Untracked files in the way
// make git refuse, but most commands replace or delete ignored files without a word. Here these are
// found before, named in a question and put aside. Blocks while git, or the user, answers.
class IncomingFiles {
 public:
  // By full names, objects' names, or any other that git takes for a commit and that begins with
  // no "-".
  struct Source {
    struct Difference {
      std::string from;  // empty: nothing was there
      std::string to;
    };
    std::vector<Difference> differences;
    std::vector<std::string> commits;  // what each of them changes, by objects' names
  };
  // The files that are brought, by the present state; absent when git does not tell.
  using Finder = std::function<std::optional<Source>()>;
  // Whether the user has agreed that git replaces ignored files; they are put aside then.
  enum class Ignored { Stay, MayBeReplaced };
  // Has git bring it.
  using Bringer = std::function<ActionOutcome(Ignored)>;

  // Asks where ignored files of the job's working copy are in the way, also in those submodules
  // that git goes into by the user's settings, and then calls `bring`.
  static ActionOutcome bring(ActionJob& job, const Finder& find, const Bringer& bring);

  // For a bringer: runs git with its own option against replacing ignored files unless the user
  // agreed. `git merge` knows the option, but obeys it only where there is nothing to merge.
  static ActionOutcome change(const ActionJob& job, Ignored ignored, Arguments arguments);
  // Has git check out the commit by `arguments`, which are those of `git switch`.
  static ActionOutcome checkOut(ActionJob& job, const std::string& commit,
                                const Arguments& arguments);
  // Has git merge the commit, which is called `spoken` in messages, with more `options`.
  static ActionOutcome merge(ActionJob& job, const std::string& commit, const std::string& spoken,
                             const Arguments& options = {});

  // The files that are brought by checking a commit out, by merging it into the head commit, and by
  // rebasing the head's commits that `upstream` lacks onto `onto`.
  static std::optional<Source> byCheckout(const GitCommand& git, const std::string& commit);
  static std::optional<Source> byMerge(const GitCommand& git, const std::string& commit);
  static std::optional<Source> byRebase(const GitCommand& git, const std::string& upstream,
                                        const std::string& onto);

  // The paths that get an entry from the source, and that entry; absent when git does not tell.
  using Entries = std::map<std::string, TreeEntry>;
  static std::optional<Entries> entriesOf(const GitCommand& git, const Source& source);
  // Adds to the plan the ignored files that are in the way of the entries: they are to vanish.
  // What went wrong, for people, or an empty text. `git` runs in the root.
  static std::string addObstacles(const GitCommand& git, const Entries& entries, PathPlan& plan);
};

}  // namespace kelpie::agent
