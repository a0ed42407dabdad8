#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "e2e/ProcessHost.h"

namespace kelpie {

// A user's session with real git repositories: git knows this home folder's settings and no others.
// Folders and files are named relative to the home folder. One thread.
class GitSession : public ProcessHost {
 public:
  GitSession();

  // -- Repositories -------------------------------------------------------------------------------

  // Runs git in the folder, which may be an absolute one, and returns what it printed, without the
  // line end. Fails the test when git fails.
  std::string git(std::string_view folder, const std::vector<std::string>& arguments) const;
  // A new repository with these files committed; the absolute path.
  std::string addRepository(const std::string& folder,
                            std::initializer_list<std::string_view> files = {"file.txt"}) const;
  // The repository in which every state of an item occurs; the absolute path.
  std::string addSample(const std::string& folder) const;
  std::string read(std::string_view file) const;
  // Adds a line to the file.
  void append(std::string_view file, std::string_view line) const;

  // -- Programs that the agent runs ---------------------------------------------------------------

  // A program for the shell that is found before all others of its name, by those that are started
  // from now on.
  void addProgram(const std::string& name, std::string_view script);
  // A user who answers each dialog with `script`, which ends with 0 for yes; and the display that
  // dialogs need.
  void addUser(std::string_view script);

  // -- The programs -------------------------------------------------------------------------------

  // Configures the folders that are observed; absolute paths.
  void observe(const std::vector<std::string>& folders) const;
  // kelpie-agent, once it takes messages.
  std::unique_ptr<ChildProcess> startAgent();
  // The log line, or the part of one, has been written.
  static testing::AssertionResult hasLogged(ChildProcess& program, std::string_view text);
  // The programs' files in the runtime directory, except the lock.
  std::vector<std::string> sockets() const;
};

}  // namespace kelpie
