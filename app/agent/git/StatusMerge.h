#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/git/StatusParser.h"

namespace kelpie::agent {

// Puts git's answer for some paths in place of what was known of them and of all below them; the
// rest stays as it is known. `known` is in git's order, and so is what is returned; none of `paths`
// lies below another one. Absent when the answer cannot stand for a part of the whole: it has
// a rename, of which git may see only one side, a conflict, a deleted file while there are
// conflicts, or says something of a folder around a path. Takes time in proportion to the answer,
// and to copy what is known. Any thread.
std::optional<std::vector<StatusItem>> mergeStatus(const std::vector<StatusItem>& known,
                                                   const std::vector<std::string>& paths,
                                                   const std::vector<StatusItem>& answer);

// How two accounts of the same status differ, for people: the first item and the number of items
// that are not the same. Empty when there is no difference.
std::string differenceBetween(const std::vector<StatusItem>& one,
                              const std::vector<StatusItem>& other);

}  // namespace kelpie::agent
