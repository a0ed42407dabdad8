#pragma once

#include <gio/gio.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelpie::agent {

// One program to run, and its limits. All texts are bytes.
struct ProgramCall {
  // The program, by its absolute path or by a name that is looked up on PATH, and its arguments.
  // There is no shell in between.
  std::vector<std::string> arguments;
  std::string folder;  // where it runs; empty for where the agent runs
  // Variables on top of the agent's own, and variables that it must not see.
  std::vector<std::pair<std::string, std::string>> environment;
  std::vector<std::string> withoutVariables;
  std::string input;  // what it reads from its standard input
  // A program that writes more than this is ended.
  std::size_t maximumOutput = std::size_t{64} << 20U;
  // When false, its standard output goes nowhere.
  bool outputMatters = true;
  // A program that runs longer is ended; 0 for no limit.
  std::chrono::milliseconds timeLimit{0};
  // It is useless without the agent, and ends with it.
  bool endsWithAgent = false;
};

// How a program ended, and what it wrote.
struct ProgramResult {
  enum class End {
    Exited,         // `status` says how
    NotStarted,     // `errors` says why
    Killed,         // by the signal `status`
    TimedOut,       // ended after the time limit
    TooMuchOutput,  // ended after it had written more than was allowed
    Cancelled,
  };

  End end = End::NotStarted;
  int status = 0;
  std::string output;
  std::string errors;  // what it wrote to standard error, its beginning if that is long

  bool succeeded() const { return end == End::Exited && status == 0; }
  // The program's own words, or what became of it, without surrounding blanks. For people.
  std::string failure() const;
};

// Runs programs.
class Subprocess {
 public:
  // Runs the program to its end and blocks meanwhile, so it is never called on the main thread. It
  // has no terminal. What is still running when a limit is met or `cancellable` is cancelled gets
  // SIGTERM and then SIGKILL, with all that it started itself; if it is cancelled already, nothing
  // is started. Without a `cancellable` the one that is current on the thread counts, if any (see
  // ActionControl). Any thread.
  static ProgramResult run(const ProgramCall& call, GCancellable* cancellable = nullptr);
};

}  // namespace kelpie::agent
