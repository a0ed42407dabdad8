#pragma once

#include "agent/actions/ActionOutcome.h"

namespace kelpie::agent {

class ActionJob;

// Brings back what the last action of this working copy put aside: files, staged content, and the
// merge that it ended. Asks where something was changed since then, and puts that aside in turn.
// Blocks.
ActionOutcome undoDiscard(ActionJob& job);

}  // namespace kelpie::agent
