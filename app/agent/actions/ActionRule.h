#pragma once

#include <string_view>

#include "agent/actions/ActionOutcome.h"

namespace kelpie::agent {

class ActionJob;

// Which of the extension's messages asks for an action.
enum class ActionKind {
  Repository,   // one for a working copy
  Application,  // one for no working copy
  Creation,     // one for a folder that lies in none
};

// The subject that the chosen menu item must name for an action to begin.
enum class ActionSubject {
  None,
  Files,        // its paths, at least one
  FilesOrNone,  // its paths, or nothing at all
  // A reference of one kind or any, by the tag as its number.
  LocalBranch,
  RemoteBranch,
  Tag,
  BranchOrTag,  // a local branch or a tag
  Reference,
  FilesAndReference,
  // An entry of a list, by the tag as its position and the title as its name.
  Stash,
  Remote,
  RemoteOrAll,  // the tag -1 stands for all
  Submodule,
  PullRequest,
  Feature,
  Release,
  Hotfix,
};

// How one action is carried out: by the first of `work`, `window` and `git` that is set.
//
// `git` and `window` are words with single blanks between them. Placeholders:
//   %full     the reference's full name          %name   the short name, or the entry's name
//   %oid      the commit of the stash or reference
// and in `window`, whose first word is the program:
//   %p        the paths, relative to the root    %f      the paths, absolute
//   %r        the root of the working copy       %e      the folder of the configuration files
//   %u        the address of a web page          %%   a percent sign
// A word that is %p or %f alone stands for one word per path. In `git` the paths come last, given
// as the rule of the subject says.
struct ActionRule {
  std::string_view action;  // a selector
  std::string_view label;   // what the action is called
  ActionSubject subject = ActionSubject::None;
  std::string_view git = {};
  std::string_view window = {};
  // What a terminal runs where the window's program is not installed; written as `window` is.
  std::string_view terminal = {};
  // The question before something that cannot be undone; "%@" names the subject.
  std::string_view question = {};
  ActionOutcome (*work)(ActionJob& job) = nullptr;
  ActionKind kind = ActionKind::Repository;
};

}  // namespace kelpie::agent
