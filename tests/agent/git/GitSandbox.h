#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// A temporary folder for real repositories, in an environment where git knows no settings but
// theirs: the user's configuration, home folder and identity stay out of the tests. One at a time.
class GitSandbox {
 public:
  GitSandbox();
  ~GitSandbox();
  GitSandbox(const GitSandbox&) = delete;
  GitSandbox& operator=(const GitSandbox&) = delete;

  // The folder, with no link in its path.
  const std::string& root() const { return root_; }
  std::string path(std::string_view relative) const { return root_ + "/" + std::string(relative); }

  // Runs git in a folder (relative to the root) and fails the test when git fails. What it printed,
  // without the line end.
  std::string git(std::string_view folder, const Arguments& arguments) const;
  // The same for a git that may fail, such as a merge with conflicts.
  ProgramResult tryGit(std::string_view folder, const Arguments& arguments) const;
  // Has the shell run something in the root. What it printed, without the line end.
  std::string sh(const std::string& script) const;
  // A new repository with the branch "main" checked out, and no commit.
  void init(std::string_view folder) const;
  // Stages everything and commits it.
  void commitAll(std::string_view folder, std::string_view message) const;

  // Makes the folders above as needed.
  void write(std::string_view relative, std::string_view content) const;
  std::string read(std::string_view relative) const;
  bool exists(std::string_view relative) const;
  void remove(std::string_view relative) const;
  void makeFolder(std::string_view relative) const;
  // An executable script for the shell.
  void writeScript(std::string_view relative, std::string_view body) const;

  // Sets a variable until the sandbox ends.
  void setVariable(const std::string& name, const std::string& value);

 private:
  std::string root_;
  std::vector<std::pair<std::string, std::string>> former_;
  std::vector<std::string> formerlyUnset_;
};

}  // namespace kelpie::agent
