#include "agent/git/GitCommand.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "agent/git/ProgramGuard.h"
#include "agent/git/WorkingCopy.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {
namespace {

// What a status of a million changed files takes.
constexpr std::size_t kMaximumAnswer = std::size_t{512} << 20U;
// How many bytes of paths one call takes as arguments; the system's limit is far above.
constexpr std::size_t kArgumentBytes = std::size_t{96} << 10U;

// The one command that refuses paths that are to be taken as they are written. One that begins with
// "./" it does take so.
constexpr std::string_view kNoLiterals = "check-ignore";

ProgramResult notStarted(std::string why) {
  ProgramResult result;
  result.errors = std::move(why);
  return result;
}

// A key with a "=" in it can only be handed over by the environment; ProgramGuard looks whether git
// has understood.
void addSettings(const std::vector<std::pair<std::string, std::string>>& settings,
                 Arguments& arguments,
                 std::vector<std::pair<std::string, std::string>>& environment) {
  std::size_t count = 0;
  for (const auto& [key, value] : settings) {
    if (key.find('=') == std::string::npos) {
      arguments.insert(arguments.end(), {"-c", std::string(key).append("=").append(value)});
      continue;
    }
    const std::string number = std::to_string(count++);
    environment.emplace_back("GIT_CONFIG_KEY_" + number, key);
    environment.emplace_back("GIT_CONFIG_VALUE_" + number, value);
  }
  if (count > 0) environment.emplace_back("GIT_CONFIG_COUNT", std::to_string(count));
}

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

GitCommand GitCommand::in(std::string folder) const {
  GitCommand other(program_, std::move(folder));
  other.runner_ = runner_;
  other.guard_ = guard_;
  other.variables_ = variables_;
  return other;
}

GitCommand GitCommand::withVariables(Environment variables) const {
  GitCommand other(*this);
  other.variables_ = std::move(variables);
  return other;
}

GitCommand GitCommand::startedBy(std::shared_ptr<const ProgramRunner> runner) const {
  GitCommand other(*this);
  other.runner_ = std::move(runner);
  return other;
}

GitCommand GitCommand::unguarded() const {
  GitCommand other(program_, folder_);
  other.runner_ = runner_;
  return other;
}

GitCommand GitCommand::guardedBy(std::shared_ptr<ProgramGuard> guard) const {
  GitCommand other(*this);
  other.guard_ = std::move(guard);
  return other;
}

GitCommand GitCommand::within(const WorkingCopy& workingCopy) const {
  GitCommand other = in(workingCopy.root);
  other.workingCopy_ = std::make_shared<const WorkingCopy>(workingCopy);
  return other;
}

ReadingRules GitCommand::rules() const {
  return guard_ == nullptr ? ReadingRules() : guard_->rulesFor(folder_);
}

ProgramResult GitCommand::ask(const Arguments& arguments, std::string input,
                              GCancellable* cancellable, std::chrono::milliseconds limit) const {
  return askUnder(rules(), arguments, std::move(input), cancellable, limit);
}

ProgramResult GitCommand::askUnder(const ReadingRules& rules, const Arguments& arguments,
                                   std::string input, GCancellable* cancellable,
                                   std::chrono::milliseconds limit) const {
  if (!rules.refusal.empty()) return notStarted(rules.refusal);
  // No question needs a hook, or the signature of a commit checked.
  Arguments all = {"--no-optional-locks",      "-c", "core.quotePath=off",     "-c",
                   "core.hooksPath=/dev/null", "-c", "log.showSignature=false"};
  std::vector<std::pair<std::string, std::string>> environment = {
      {"LC_ALL", "C"}, {"GIT_TERMINAL_PROMPT", "0"}, {"GIT_PAGER", "cat"}};
  addSettings(rules.settings, all, environment);
  if (!rules.mayFetch)
    // The second is for a git that does not know the first: no way to a remote is allowed.
    environment.insert(environment.end(), {{"GIT_NO_LAZY_FETCH", "1"}, {"GIT_ALLOW_PROTOCOL", ""}});
  if (arguments.front() != kNoLiterals) all.insert(all.begin(), "--literal-pathspecs");
  all.insert(all.end(), arguments.begin(), arguments.end());
  ProgramCall question = call(all);
  question.environment = std::move(environment);
  question.input = std::move(input);
  question.maximumOutput = kMaximumAnswer;
  question.timeLimit = limit;
  question.endsWithAgent = true;
  return run(question, cancellable);
}

ProgramResult GitCommand::run(const ProgramCall& call, GCancellable* cancellable) const {
  return runner_ == nullptr ? Subprocess::run(call, cancellable) : (*runner_)(call, cancellable);
}

std::vector<std::string> GitCommand::settingsFiles() const {
  return guard_ == nullptr ? std::vector<std::string>() : guard_->settingsFilesOf(folder_);
}

std::string GitCommand::objection() const {
  if (workingCopy_ == nullptr) return {};
  if (guard_ != nullptr) return guard_->objectionTo(*workingCopy_);
  return ProgramGuard(*this, {}).objectionTo(*workingCopy_);
}

ProgramCall GitCommand::changeCall(const Arguments& arguments) const {
  ProgramCall change = call(arguments);
  // ":" is what the shell does nothing for, and git knows it as the editor that changes nothing.
  change.environment = {{"GIT_TERMINAL_PROMPT", "0"},
                        {"GIT_EDITOR", ":"},
                        {"GIT_SEQUENCE_EDITOR", ":"},
                        {"GIT_MERGE_AUTOEDIT", "no"},
                        {"GIT_PAGER", "cat"}};
  change.environment.insert(change.environment.end(), variables_.begin(), variables_.end());
  return change;
}

// What the folder is was asked before; it may have become something else since then.
ProgramResult GitCommand::runChange(const ProgramCall& change) const {
  if (std::string why = objection(); !why.empty())
    return notStarted(std::move(why) + " Nothing was done.");
  return run(change);
}

ProgramResult GitCommand::change(const Arguments& arguments) const {
  return runChange(changeCall(arguments));
}

ProgramResult GitCommand::changeWith(const Arguments& arguments, Given given) const {
  ProgramCall change = changeCall(arguments);
  change.input = std::move(given.input);
  for (auto& variable : given.environment) change.environment.push_back(std::move(variable));
  change.maximumOutput = kMaximumAnswer;
  return runChange(change);
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
    return runChange(change);
  }
  change.arguments.emplace_back("--");
  const Arguments common = change.arguments;
  for (std::size_t next = 0; next < paths.size();) {
    change.arguments = common;
    for (std::size_t size = 0; next < paths.size() && size < kArgumentBytes; ++next) {
      size += paths[next].size() + 1;
      change.arguments.push_back(paths[next]);
    }
    result = runChange(change);
    if (!result.succeeded()) return result;
  }
  return result;
}

}  // namespace kelpie::agent
