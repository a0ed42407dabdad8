#include "agent/UndoProgram.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/AgentConfiguration.h"
#include "agent/BusInterface.h"
#include "agent/actions/ActionJob.h"
#include "agent/actions/ActionRules.h"
#include "agent/git/WorkingCopyFinder.h"
#include "linux/base/SessionBus.h"
#include "linux/base/StderrLog.h"

namespace kelpie::agent {
namespace {

constexpr std::string_view kUndoSelector = "undoDiscard:";

// The one that runs offers to undo what is undone now.
void tellAgent(const std::string& root) {
  const auto [bus, problem] = SessionBus::connect();
  if (bus != nullptr) BusInterface::tellUndone(bus->connection(), root);
}

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
  ActionRequest request(*ActionRules::find(kUndoSelector));
  ActionContext context;
  context.workingCopy = *std::move(found.workingCopy);
  const std::string root = context.workingCopy.root;
  const auto means = std::make_shared<ActionJob::Means>();
  means->git = git;
  const ActionOutcome outcome = ActionJob(std::move(request), std::move(context), means).run();
  if (outcome.isDone()) {
    tellAgent(root);
    return EXIT_SUCCESS;
  }
  log.write(outcome.end == ActionOutcome::End::Cancelled ? "Nothing was brought back."
                                                         : outcome.message);
  return EXIT_FAILURE;
}

}  // namespace kelpie::agent
