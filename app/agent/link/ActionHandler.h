#pragma once

#include "foundation/Object.h"

namespace kelpie::agent {

class RepositorySession;

// Carries out what the user chose from a menu. Main thread.
class ActionHandler {
 public:
  virtual ~ActionHandler() = default;
  // Handles a message that asks for an action or a creation, as the extension sent it; it may hold
  // anything. `session` is that of the working copy that the message names; null when that is not
  // open.
  virtual void handle(const Object& message, const RepositorySession* session) = 0;
};

}  // namespace kelpie::agent
