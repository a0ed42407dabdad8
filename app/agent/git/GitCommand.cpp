#include "agent/git/GitCommand.h"

#include <cstddef>
#include <utility>

namespace kelpie::agent {
namespace {

// What a status of a million changed files takes.
constexpr std::size_t kMaximumAnswer = std::size_t{512} << 20U;
// How many bytes of paths one call takes as arguments; the system's limit is far above.
constexpr std::size_t kArgumentBytes = std::size_t{96} << 10U;

}  // namespace

const std::vector<std::string>& GitCommand::repositoryVariables() {
  static const std::vector<std::string> names = {
      "GIT_ALTERNATE_OBJECT_DIRECTORIES",
      "GIT_COMMON_DIR",
      "GIT_CONFIG",
      "GIT_CONFIG_COUNT",
      "GIT_CONFIG_PARAMETERS",
      "GIT_DIR",
      "GIT_GRAFT_FILE",
      "GIT_IMPLICIT_WORK_TREE",
      "GIT_INDEX_FILE",
      "GIT_INTERNAL_SUPER_PREFIX",
      "GIT_NAMESPACE",
      "GIT_NO_REPLACE_OBJECTS",
      "GIT_OBJECT_DIRECTORY",
      "GIT_PREFIX",
      "GIT_REPLACE_REF_BASE",
      "GIT_SHALLOW_FILE",
      "GIT_WORK_TREE",
      "GIT_LITERAL_PATHSPECS",
      "GIT_GLOB_PATHSPECS",
      "GIT_NOGLOB_PATHSPECS",
      "GIT_ICASE_PATHSPECS",
  };
  return names;
}

ProgramCall GitCommand::call(const Arguments& arguments) const {
  ProgramCall call;
  call.arguments.reserve(arguments.size() + 1);
  call.arguments.push_back(program_);
  call.arguments.insert(call.arguments.end(), arguments.begin(), arguments.end());
  call.folder = folder_;
  call.withoutVariables = repositoryVariables();
  return call;
}

ProgramResult GitCommand::ask(const Arguments& arguments, std::string input,
                              GCancellable* cancellable, std::chrono::milliseconds limit) const {
  Arguments all = {"--no-optional-locks", "--literal-pathspecs", "-c", "core.quotePath=off"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  ProgramCall question = call(all);
  question.environment = {{"LC_ALL", "C"}, {"GIT_TERMINAL_PROMPT", "0"}, {"GIT_PAGER", "cat"}};
  question.input = std::move(input);
  question.maximumOutput = kMaximumAnswer;
  question.timeLimit = limit;
  question.endsWithAgent = true;
  return Subprocess::run(question, cancellable);
}

ProgramCall GitCommand::changeCall(const Arguments& arguments) const {
  ProgramCall change = call(arguments);
  // ":" is what the shell does nothing for, and git knows it as the editor that changes nothing.
  change.environment = {{"GIT_TERMINAL_PROMPT", "0"},
                        {"GIT_EDITOR", ":"},
                        {"GIT_SEQUENCE_EDITOR", ":"},
                        {"GIT_MERGE_AUTOEDIT", "no"},
                        {"GIT_PAGER", "cat"}};
  return change;
}

ProgramResult GitCommand::change(const Arguments& arguments) const {
  return Subprocess::run(changeCall(arguments));
}

ProgramResult GitCommand::changeWith(const Arguments& arguments, Given given) const {
  ProgramCall change = changeCall(arguments);
  change.input = std::move(given.input);
  for (auto& variable : given.environment) change.environment.push_back(std::move(variable));
  change.maximumOutput = kMaximumAnswer;
  return Subprocess::run(change);
}

ProgramResult GitCommand::changePaths(const Arguments& arguments,
                                      const std::vector<std::string>& paths, Paths how) const {
  ProgramResult result;
  result.errors = "There are no files to work on.";
  if (paths.empty()) return result;
  ProgramCall change = changeCall(arguments);
  // Only here: hooks inherit it, and a hook that uses patterns would find nothing.
  change.environment.emplace_back("GIT_LITERAL_PATHSPECS", "1");
  if (how == Paths::FromInput) {
    for (const std::string& path : paths) change.input.append(path).push_back('\0');
    change.arguments.insert(change.arguments.end(),
                            {"--pathspec-from-file=-", "--pathspec-file-nul"});
    return Subprocess::run(change);
  }
  change.arguments.emplace_back("--");
  const Arguments common = change.arguments;
  for (std::size_t next = 0; next < paths.size();) {
    change.arguments = common;
    for (std::size_t size = 0; next < paths.size() && size < kArgumentBytes; ++next) {
      size += paths[next].size() + 1;
      change.arguments.push_back(paths[next]);
    }
    result = Subprocess::run(change);
    if (!result.succeeded()) return result;
  }
  return result;
}

}  // namespace kelpie::agent
