#pragma once

#include <chrono>
#include <functional>

#include "agent/actions/ActionOutcome.h"
#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// While git changes an index, a lock file beside it makes every other git fail at once. Most
// changes are done in a moment.
class IndexLock {
 public:
  IndexLock() = delete;

  // Runs a command that changes the index and can be run again. As long as another program has the
  // lock, this waits, at most for `patience` or until the action is called off, and tries again.
  // Blocks.
  static ActionOutcome change(const GitCommand& git, const Arguments& arguments,
                              const GitCommand::Given& given = {},
                              std::chrono::milliseconds patience = kPatience);

  // The same of what `attempt` runs.
  static ActionOutcome change(const GitCommand& git, const std::function<ProgramResult()>& attempt,
                              std::chrono::milliseconds patience = kPatience);

  static constexpr std::chrono::milliseconds kPatience{10'000};
};

}  // namespace kelpie::agent
