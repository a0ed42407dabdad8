#pragma once

#include <variant>

#include "agent/actions/ActionJob.h"

namespace kelpie::agent {

// The remote that a branch or tag is pushed to: what git's settings say of the branch, else the one
// that the head branch comes from, else "origin" or the only one, else what the user picks. Or how
// the action ends without one. On the job's queue.
std::variant<Remote, ActionOutcome> pushRemote(ActionJob& job, const Reference& reference);

}  // namespace kelpie::agent
