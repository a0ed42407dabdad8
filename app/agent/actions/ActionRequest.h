#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/actions/ActionRule.h"
#include "foundation/FileIdentifier.h"
#include "foundation/Object.h"

namespace kelpie::agent {

// The user's choice in a menu, as the extension's message tells it. A value; any thread.
struct ActionRequest {
  // `of` is one of ActionRules.
  explicit ActionRequest(const ActionRule& of) : rule(&of) {}

  const ActionRule* rule;  // of the action that was chosen; never null
  std::string title;       // of the menu item, UTF-8
  std::int64_t tag = 0;    // a reference's number, a position in a list, or a variant of the action
  // The items that the menu item was made for: absolute paths, bytes. A deleted item is named by
  // its own path. A creation names one folder.
  std::vector<std::string> paths;
  std::optional<FileIdentifier> target;  // of the working copy's root
  // The host's name for this choice, under which it learns how the action ended; may be empty.
  std::string choice;
  // For "undoDiscard:", the name of the record to bring back, and nothing else; empty for the
  // newest.
  std::string record = {};
  // The port that wants to know; may be empty.
  std::string portName;

  ActionKind kind() const { return rule->kind; }
  // The selector, such as "stage:".
  std::string action() const { return std::string(rule->action); }

  // The request in a message, which may come from anyone. Absent when there is none, when it names
  // an unknown action, or when it lacks something that its kind needs.
  static std::optional<ActionRequest> fromMessage(const Object& message);
};

}  // namespace kelpie::agent
