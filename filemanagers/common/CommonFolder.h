#pragma once

#include <optional>
#include <string>
#include <vector>

#include "linux/hostclient/HostClient.h"

namespace kelpie::filemanagers {

// The folder that all of these lie in; missing when there are several, and for the root.
std::optional<std::string> commonFolder(const std::vector<HostClient::Place>& places);

}  // namespace kelpie::filemanagers
