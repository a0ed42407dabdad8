#include "agent/UndoProgram.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/AgentConfiguration.h"
#include "agent/actions/ActionJob.h"
#include "agent/actions/ActionRules.h"
#include "agent/git/WorkingCopyFinder.h"
#include "linux/base/StderrLog.h"

namespace kelpie::agent {
namespace {

constexpr std::string_view kUndo = "undoDiscard:";

}  // namespace

int UndoProgram::main(const std::string& folder) {
  std::signal(SIGPIPE, SIG_IGN);
  StderrLog log;
  std::vector<std::string> problems;
  const std::string file = AgentConfiguration::file();
  const GitCommand git(AgentConfiguration::read(file, problems).gitProgram, "/");
  for (const std::string& problem : problems) log.write(problem);
  WorkingCopyFinder::Finding found = WorkingCopyFinder(git).find(folder);
  if (!found.workingCopy) {
    log.write(found.failure.empty() ? "There is no working copy there." : found.failure);
    return EXIT_FAILURE;
  }
  ActionRequest request(*ActionRules::find(kUndo));
  ActionContext context;
  context.workingCopy = *std::move(found.workingCopy);
  const auto means = std::make_shared<ActionJob::Means>();
  means->git = git;
  const ActionOutcome outcome = ActionJob(std::move(request), std::move(context), means).run();
  if (outcome.isDone()) return EXIT_SUCCESS;
  log.write(outcome.end == ActionOutcome::End::Cancelled ? "Nothing was brought back."
                                                         : outcome.message);
  return EXIT_FAILURE;
}

}  // namespace kelpie::agent
