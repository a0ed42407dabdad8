#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "agent/actions/ActionContext.h"
#include "agent/actions/ActionRequest.h"
#include "agent/actions/ActionRule.h"
#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// The subject of a request, found again in the present working copy. Only the members that the
// rule's subject asks for are set.
struct ActionTarget {
  std::vector<std::string> paths;  // relative to the root, "." for the root itself
  std::optional<Reference> reference;
  std::optional<Stash> stash;
  std::optional<Remote> remote;  // absent also when all of them are meant
  std::optional<Submodule> submodule;
  std::optional<PullRequest> pullRequest;
  std::string branch;  // of git-flow, its short name
  std::string name;    // its name for people, printable
};

// The target, or why there is none, for people. `git` runs in the root. A subject that has vanished
// since the menu was made, or has another name now, is not a target: an action must never work on
// something that was not chosen. Blocks while git answers.
std::variant<ActionTarget, std::string> findTarget(const ActionRequest& request,
                                                   const ActionContext& context,
                                                   ActionSubject subject, const GitCommand& git);

// The references of the context, or else those that git tells now; null when it does not.
std::shared_ptr<const ReferencesSnapshot> referencesOf(const ActionContext& context,
                                                       const GitCommand& git);

// The path relative to `root`, or "." for the root itself. Folders above the item are taken where
// links lead; the item itself may be a link and need not exist. Absent when it lies elsewhere.
std::optional<std::string> pathWithin(const std::string& root, const std::string& path);

}  // namespace kelpie::agent
