#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/git/WorkingCopy.h"

namespace kelpie::agent {

// The submodules of a working copy that are checked out, as absolute paths: those that git's status
// looks into, whether ".gitmodules" names them or not. Absent when git does not tell. Any thread;
// blocks while git answers, git is not asked for an index that cannot have any.
std::optional<std::vector<std::string>> submodulesInIndex(const GitCommand& git,
                                                          const WorkingCopy& workingCopy);

}  // namespace kelpie::agent
