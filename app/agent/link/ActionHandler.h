#pragma once

#include "foundation/Object.h"

namespace kelpie::agent {

class RepositorySession;

// Carries out what the user chose from a menu. Main thread.
class ActionHandler {
 public:
  virtual ~ActionHandler() = default;
  // A message that asks for an action or a creation, as the extension sent it; anything may be in
  // it. `session` is that of the working copy that the message names, null when it names none that
  // is open.
  virtual void handle(const Object& message, const RepositorySession* session) = 0;
};

}  // namespace kelpie::agent
