#pragma once

#include <string>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/git/ScopedConfig.h"
#include "agent/git/WorkingCopy.h"

namespace kelpie::agent {

// The files of the user and of the system that have a say in every status: configuration, what it
// includes, and the lists of ignored files and of attributes that it names. Absolute paths, each
// once, whether there is such a file or not; as many as kMaximumSettingsFiles. Any thread; blocks
// while git answers.
std::vector<std::string> settingsFiles(const GitCommand& git);

// Those that the repository's own settings are in, or name, but for the configuration in its git
// directory: what that includes, and its own lists of ignored files and of attributes. In the same
// way; `config` is what counts in the root of the working copy. Any thread.
std::vector<std::string> ownSettingsFiles(const ScopedConfig& config,
                                          const WorkingCopy& workingCopy);

inline constexpr std::size_t kMaximumSettingsFiles = 64;

}  // namespace kelpie::agent
