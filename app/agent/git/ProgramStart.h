#pragma once

#include <sys/types.h>

#include <string>
#include <variant>
#include <vector>

namespace kelpie::agent {

// What a program is started with. Nothing of it is kept.
struct ProgramStart {
  // The program, by its absolute path or by a name that is looked up on PATH, and its arguments.
  const std::vector<std::string>& arguments;
  char* const* environment = nullptr;  // NAME=VALUE each, ended by a null
  const std::string& folder;           // where it runs; empty for where this process runs
  // What it finds as its standard input, output and errors.
  int input = -1;
  int output = -1;
  int errors = -1;
  bool endsWithThread = false;  // gets SIGTERM when the thread that calls run() ends

  // Starts it as a child, the leader of a session without a terminal; it has no other descriptors.
  // Returns its process id, or why it could not be started, for people. Any thread.
  std::variant<pid_t, std::string> run() const;
};

}  // namespace kelpie::agent
