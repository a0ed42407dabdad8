#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/Object.h"

namespace kelpie::agent {

// What the user has chosen in a menu, as the extension's message tells it. A value; any thread.
struct ActionRequest {
  // Which of the extension's messages it came as.
  enum class Kind {
    Repository,   // for the working copy `target`
    Application,  // for no working copy
    Creation,     // for a folder that lies in none, the one path of `paths`
  };

  Kind kind = Kind::Repository;
  std::string action;    // the selector, such as "stage:", one that ActionRules knows
  std::string title;     // of the menu item, UTF-8
  std::int64_t tag = 0;  // a reference's number, a position in a list, or a variant of the action
  // What the menu item was made for: absolute, bytes. A deleted item is named by its own path.
  std::vector<std::string> paths;
  std::optional<FileIdentifier> target;  // of the working copy's root
  // What the host calls this choice, by which it finds out how it ended; may be empty.
  std::string choice;
  // The port that wants to know; may be empty.
  std::string portName;

  // The request that a message holds, which may come from anyone: missing when it is none, when it
  // names an action that nobody knows, or when it lacks what its kind needs.
  static std::optional<ActionRequest> fromMessage(const Object& message);
};

}  // namespace kelpie::agent
