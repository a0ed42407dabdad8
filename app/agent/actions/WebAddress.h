#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelpie::agent {

// The page that a server most likely shows for the repository at a remote's address (https, ssh or
// user@host:path), without a user's name or password. Absent for an address of another kind, such
// as a folder. Any thread.
std::optional<std::string> webAddress(std::string_view remoteUrl);

}  // namespace kelpie::agent
