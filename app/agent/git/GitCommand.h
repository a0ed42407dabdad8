#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/git/ReadingRules.h"
#include "agent/git/Subprocess.h"

namespace kelpie::agent {

class ProgramGuard;
struct WorkingCopy;

using Arguments = std::vector<std::string>;
// Names and values of variables.
using Environment = std::vector<std::pair<std::string, std::string>>;
// Runs a program, as Subprocess::run() does.
using ProgramRunner =
    std::function<ProgramResult(const ProgramCall& call, GCancellable* cancellable)>;

// The `git` program, run in one folder. Every call blocks until git has ended, so none is made on
// the main thread. Variables that name another repository (GIT_DIR and the like) are kept from git.
// Any thread; cheap to copy.
class GitCommand {
 public:
  // `program` is the path of git, or a name that is looked up on PATH.
  GitCommand(std::string program, std::string folder)
      : program_(std::move(program)), folder_(std::move(folder)) {}

  const std::string& folder() const { return folder_; }
  // The same git in another folder.
  GitCommand in(std::string folder) const;
  // The same git, whose questions run no program that a repository names for itself unless the user
  // trusts it. Without a guard, only the programs that can be switched off in every repository are.
  GitCommand guardedBy(std::shared_ptr<ProgramGuard> guard) const;
  GitCommand unguarded() const;
  // The same git in the root of the working copy, and for changes there only: each change first
  // checks that the folder still is that working copy.
  GitCommand within(const WorkingCopy& workingCopy) const;

  // The same git with further variables for its changes.
  GitCommand withVariables(Environment variables) const;
  // The same git, started by `runner`, which may answer in its place. Not null; any thread.
  GitCommand startedBy(std::shared_ptr<const ProgramRunner> runner) const;

  // Asks git something: it takes no lock that could hinder the user's own git, answers in English,
  // takes every path as it is written, and is stopped after `limit` or when `cancellable` (may be
  // null) is cancelled.
  ProgramResult ask(const Arguments& arguments, std::string input = {},
                    GCancellable* cancellable = nullptr,
                    std::chrono::milliseconds limit = kQuestionLimit) const;
  // The same under rules that the caller knows, whatever the guard says.
  ProgramResult askUnder(const ReadingRules& rules, const Arguments& arguments,
                         std::string input = {}, GCancellable* cancellable = nullptr,
                         std::chrono::milliseconds limit = kQuestionLimit) const;
  // The rules under which ask() would ask now.
  ReadingRules rules() const;

  // The files that the repository's own settings name: see ProgramGuard::settingsFilesOf(). None
  // without a guard.
  std::vector<std::string> settingsFiles() const;

  // Why nothing may be changed here now, for people; empty when changes are allowed.
  std::string objection() const;

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
  ProgramResult runChange(const ProgramCall& change) const;
  ProgramResult run(const ProgramCall& call, GCancellable* cancellable = nullptr) const;

  std::string program_;
  std::string folder_;
  std::shared_ptr<const ProgramRunner> runner_;  // null: Subprocess
  std::shared_ptr<ProgramGuard> guard_;
  std::shared_ptr<const WorkingCopy> workingCopy_;  // the only one that may be changed; or null
  Environment variables_;                           // where it changes something
};

}  // namespace kelpie::agent
