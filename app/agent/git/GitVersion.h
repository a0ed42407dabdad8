#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// A version of git, as far as the agent cares.
struct GitVersion {
  int major = 0;
  int minor = 0;

  friend bool operator==(const GitVersion&, const GitVersion&) = default;
  friend bool operator<(const GitVersion& a, const GitVersion& b) {
    return a.major != b.major ? a.major < b.major : a.minor < b.minor;
  }

  std::string text() const { return std::to_string(major) + "." + std::to_string(minor); }
  // Parses the output of `git --version`, such as "git version 2.39.5 (some vendor)". Absent for
  // anything else.
  static std::optional<GitVersion> parse(std::string_view text);
};

// The first git with all that readings and actions take: the newest of it is that it tells whose
// each setting is ("config --show-scope").
inline constexpr GitVersion kOldestGit{2, 26};

// Why git cannot be used: it is not installed, or too old. Absent when it can. Blocks while git
// answers. Any thread.
std::optional<std::string> problemOfGit(const GitCommand& git);

}  // namespace kelpie::agent
