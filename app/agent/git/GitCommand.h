#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "agent/git/Subprocess.h"

namespace kelpie::agent {

using Arguments = std::vector<std::string>;
// Names and values of variables.
using Environment = std::vector<std::pair<std::string, std::string>>;

// The `git` program, run in one folder. Every call blocks until git has ended, so no main loop
// makes one. What the environment says of another repository (GIT_DIR and its like) is kept from
// git. Any thread; cheap to copy.
class GitCommand {
 public:
  // `program` is the path of git, or a name that is looked up on PATH.
  GitCommand(std::string program, std::string folder)
      : program_(std::move(program)), folder_(std::move(folder)) {}

  const std::string& folder() const { return folder_; }
  // The same git in another folder.
  GitCommand in(std::string folder) const { return {program_, std::move(folder)}; }

  // Asks git something: it takes no lock that could hinder the user's own git, answers in English,
  // takes every path as it is written, and is stopped after `limit` or when `cancellable` (may be
  // null) is cancelled.
  ProgramResult ask(const Arguments& arguments, std::string input = {},
                    GCancellable* cancellable = nullptr,
                    std::chrono::milliseconds limit = kQuestionLimit) const;

  // Has git change something. It never waits for a terminal or an editor: a message that would be
  // edited is taken as it is. Answers in the user's language, and may take its time.
  ProgramResult change(const Arguments& arguments) const;
  // The same with something to read, and with variables of its own.
  struct Given {
    std::string input;
    Environment environment;
  };
  ProgramResult changeWith(const Arguments& arguments, Given given) const;

  // As change(), for exactly the paths (relative to the folder, bytes), which git reads from its
  // input, or finds after "--" in as many calls as their number takes; that stops at the first
  // call that fails. Fails when there are no paths.
  enum class Paths { FromInput, AsArguments };
  ProgramResult changePaths(const Arguments& arguments, const std::vector<std::string>& paths,
                            Paths how = Paths::FromInput) const;

  // The variables that tie a git to a repository other than that of the folder it runs in.
  static const std::vector<std::string>& repositoryVariables();

  static constexpr std::chrono::milliseconds kQuestionLimit = std::chrono::minutes(5);

 private:
  ProgramCall call(const Arguments& arguments) const;
  ProgramCall changeCall(const Arguments& arguments) const;

  std::string program_;
  std::string folder_;
};

}  // namespace kelpie::agent
