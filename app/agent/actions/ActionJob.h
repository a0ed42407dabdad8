#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/actions/ActionContext.h"
#include "agent/actions/ActionOutcome.h"
#include "agent/actions/ActionRequest.h"
#include "agent/actions/ActionRule.h"
#include "agent/actions/ActionTarget.h"
#include "agent/desktop/Dialogs.h"
#include "agent/desktop/ToolCommands.h"
#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// One action being carried out. Everything blocks until git, or the user, has answered; so it runs
// on a queue that belongs to its working copy, and on one thread at a time.
class ActionJob {
 public:
  // What all jobs share. `git` may be that of any folder.
  struct Means {
    GitCommand git{"git", ""};
    ToolCommands tools;
    std::string configurationFolder;  // the agent's own, absolute
  };
  ActionJob(ActionRequest request, ActionContext context, std::shared_ptr<const Means> means);

  // Finds what the request names, asks what the rule wants asked, and does it.
  ActionOutcome run();

  // -- For the rules' work -----------------------------------------------------------------------

  const ActionRequest& request() const { return request_; }
  const ActionTarget& target() const { return target_; }
  const WorkingCopy& workingCopy() const { return context_.workingCopy; }
  // What the action is called.
  std::string_view label() const { return rule().label; }
  // Runs in the root of the working copy; for a creation, in the folder.
  const GitCommand& git() const { return git_; }
  // The references, those of now when nobody told them; null when git does not tell them either.
  const ReferencesSnapshot* references();
  // The status that the menu was made of, or that of now; null when git does not tell it.
  const StatusSnapshot* status();
  // The status of now, since what is destroyed by it must be there; null when git does not tell it.
  const StatusSnapshot* freshStatus();
  bool hasHeadCommit() const;
  // How git is told of the target's reference where a message will say its name: the short name
  // when that means this very reference, else the full one. Begins with no "-".
  std::string spokenName() const;

  // Has git change something.
  ActionOutcome change(const Arguments& arguments) const;
  ActionOutcome changePaths(const Arguments& arguments, const std::vector<std::string>& paths,
                            GitCommand::Paths how = GitCommand::Paths::FromInput) const;

  // Asks for consent to something that cannot be undone. Missing when it was given; else how the
  // action ends.
  std::optional<ActionOutcome> refused(const std::string& question) const;
  // How the action ends when a dialog gave no answer that it needs.
  ActionOutcome unanswered(const Dialogs::Answer& answer) const;

  // Opens the window of the user's program for the action, or of `fallback`, which is written like
  // the rules' own. The second form is for other paths than the target's, and for a web address.
  ActionOutcome openWindow(std::string_view fallback) const;
  ActionOutcome openWindow(std::string_view fallback, const std::vector<std::string>& paths,
                           const std::string& address = {}) const;
  // What a terminal runs instead of the rule's own where the window's program is not installed.
  void setTerminal(std::string_view command) { terminal_ = command; }
  // The same in another folder.
  ActionOutcome openWindowIn(const std::string& folder, std::string_view fallback) const;

 private:
  const ActionRule& rule() const { return *request_.rule; }
  ActionOutcome carryOut();
  ToolCommands::Values values() const;
  // In place of a window whose program is not there, for the reason given.
  ActionOutcome openTerminal(const std::string& lack, const ToolCommands::Values& values) const;

  ActionRequest request_;
  ActionContext context_;
  std::shared_ptr<const Means> means_;
  GitCommand git_;
  ActionTarget target_;
  std::string_view terminal_;
};

}  // namespace kelpie::agent
