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
  // The state that all jobs share. `git` may be that of any folder.
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
  // The references of the context, or else the present ones; null when git does not tell them
  // either.
  const ReferencesSnapshot* references();
  // The status that the menu was made from, or else the present one; null when git does not tell
  // it.
  const StatusSnapshot* status();
  // The present status, for actions that destroy what it lists; null when git does not tell it.
  const StatusSnapshot* freshStatus();
  bool hasHeadCommit() const;
  // The name of the target's reference for git commands whose messages show it: the short name when
  // it means this very reference, otherwise the full one. Does not begin with "-".
  std::string spokenName() const;

  // Has git change something.
  ActionOutcome change(const Arguments& arguments) const;
  ActionOutcome changePaths(const Arguments& arguments, const std::vector<std::string>& paths,
                            GitCommand::Paths how = GitCommand::Paths::FromInput) const;

  // Asks for consent to something that cannot be undone. Absent if the user agreed; otherwise the
  // action's outcome.
  std::optional<ActionOutcome> refused(const std::string& question) const;
  // The action's outcome when a dialog gave no answer that it needs.
  ActionOutcome unanswered(const Dialogs::Answer& answer) const;

  // Opens the window of the user's program for the action, or of `fallback`, which is written like
  // the rules' own. The second form is for paths other than the target's, and for a web address.
  ActionOutcome openWindow(std::string_view fallback) const;
  ActionOutcome openWindow(std::string_view fallback, const std::vector<std::string>& paths,
                           const std::string& address = {}) const;
  // The command for a terminal, in place of the rule's own, where the window's program is not
  // installed.
  void setTerminal(std::string_view command) { terminal_ = command; }
  // The same in another folder.
  ActionOutcome openWindowIn(const std::string& folder, std::string_view fallback) const;

 private:
  const ActionRule& rule() const { return *request_.rule; }
  ActionOutcome carryOut();
  ToolCommands::Values values() const;
  // The outcome in place of a window whose program is not installed, for the reason given.
  ActionOutcome openTerminal(const std::string& lack, const ToolCommands::Values& values) const;

  ActionRequest request_;
  ActionContext context_;
  std::shared_ptr<const Means> means_;
  GitCommand git_;
  ActionTarget target_;
  std::string_view terminal_;
};

}  // namespace kelpie::agent
