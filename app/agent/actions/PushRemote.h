#pragma once

#include <variant>

#include "agent/actions/ActionJob.h"

namespace kelpie::agent {

// The remote that a branch or tag is pushed to: the one that git's settings name for the branch,
// else the one that the head branch comes from, else "origin" or the only one, else the user's
// choice. Without a remote, the action's outcome. On the job's queue.
std::variant<Remote, ActionOutcome> pushRemote(ActionJob& job, const Reference& reference);

}  // namespace kelpie::agent
