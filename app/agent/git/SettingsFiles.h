#pragma once

#include <string>
#include <vector>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// The files of the user and of the system that have a say in every status: configuration, what it
// includes, and the lists of ignored files and of attributes that it names. Absolute paths, each
// once, whether there is such a file or not; as many as kMaximumSettingsFiles. Any thread; blocks
// while git answers.
std::vector<std::string> settingsFiles(const GitCommand& git);

inline constexpr std::size_t kMaximumSettingsFiles = 64;

}  // namespace kelpie::agent
