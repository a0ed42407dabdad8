#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {

// The full name that a remote's own branch has there, by the full name of what this repository
// keeps of it: the other direction of the fetch refspecs. Absent when no refspec leads there.
// Any thread.
std::optional<std::string> nameOnRemote(const std::vector<std::string>& fetchRefspecs,
                                        std::string_view fullName);

}  // namespace kelpie::agent
