#pragma once

#include <string>

namespace kelpie::agent {

// Where a working copy is. Paths are absolute bytes, without a trailing slash, as git resolved
// them.
struct WorkingCopy {
  std::string root;             // the working folder; the git directory itself for a bare one
  std::string gitDirectory;     // of a linked working tree or a submodule: its own
  std::string commonDirectory;  // where references and configuration are, usually the same
  bool bare = false;

  friend bool operator==(const WorkingCopy&, const WorkingCopy&) = default;
};

}  // namespace kelpie::agent
