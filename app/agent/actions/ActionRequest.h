#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/actions/ActionRule.h"
#include "foundation/FileIdentifier.h"
#include "foundation/Object.h"

namespace kelpie::agent {

// What the user has chosen in a menu, as the extension's message tells it. A value; any thread.
struct ActionRequest {
  // `of` is one of ActionRules.
  explicit ActionRequest(const ActionRule& of) : rule(&of) {}

  const ActionRule* rule;  // of the action that was chosen; never null
  std::string title;       // of the menu item, UTF-8
  std::int64_t tag = 0;    // a reference's number, a position in a list, or a variant of the action
  // What the menu item was made for: absolute, bytes. A deleted item is named by its own path. Of a
  // creation the one folder.
  std::vector<std::string> paths;
  std::optional<FileIdentifier> target;  // of the working copy's root
  // What the host calls this choice, by which it finds out how it ended; may be empty.
  std::string choice;
  // Of "undoDiscard:", the name of what is to be brought back, and nothing else; empty: the newest.
  std::string record = {};
  // The port that wants to know; may be empty.
  std::string portName;

  ActionKind kind() const { return rule->kind; }
  // The selector, such as "stage:".
  std::string action() const { return std::string(rule->action); }

  // The request that a message holds, which may come from anyone: missing when it is none, when it
  // names an action that nobody knows, or when it lacks what its kind needs.
  static std::optional<ActionRequest> fromMessage(const Object& message);
};

}  // namespace kelpie::agent
