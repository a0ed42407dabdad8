#include "agent/actions/MenuActions.h"

#include <optional>
#include <utility>

#include "agent/actions/ActionRequest.h"
#include "agent/sessions/RepositorySession.h"

namespace kelpie::agent {

void MenuActions::handle(const Object& message, const RepositorySession* session) {
  thread_.check();
  const std::optional<ActionRequest> request = ActionRequest::fromMessage(message);
  if (!request) return log_.write("port: an action that is none, dropped");
  ActionContext context;
  if (session != nullptr)
    context = {session->workingCopy(), session->status(), session->references()};
  else if (request->kind() == ActionKind::Repository)
    return runner_.refuse(*request, "Its working copy is not open any more.");
  runner_.run(*request, std::move(context));
}

}  // namespace kelpie::agent
