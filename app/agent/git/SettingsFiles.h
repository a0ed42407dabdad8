#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/git/ScopedConfig.h"
#include "agent/git/WorkingCopy.h"

namespace kelpie::agent {

// The files of the user and of the system that influence every status: configuration, what it
// includes, and the lists of ignored files and of attributes that it names. Absolute paths, each
// once, existing or not; at most kMaximumSettingsFiles. Any thread; blocks while git answers.
std::vector<std::string> settingsFiles(const GitCommand& git);

// The same for the repository's own settings, except the configuration in its git directory: the
// files which that includes, and its lists of ignored files and of attributes. `config` holds the
// settings of the working copy's root. Any thread.
std::vector<std::string> ownSettingsFiles(const ScopedConfig& config,
                                          const WorkingCopy& workingCopy);

inline constexpr std::size_t kMaximumSettingsFiles = 64;

}  // namespace kelpie::agent
